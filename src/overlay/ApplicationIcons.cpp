#include "overlay/ApplicationIcons.h"

#include "overlay/IconFiles.h"

#include <QImage>
#include <QImageReader>

namespace varnel {
namespace {

/// Enough for the largest text on a screen of twice the usual density.
constexpr int kIconPixels = 64;

/// Null when there is no icon or its picture can't be read. Any thread.
QImage loadIcon(const std::string& applicationPath) {
    const auto file = iconFile(applicationPath, kIconPixels, iconDataFolders());
    if (!file)
        return {};
    QImageReader reader(QString::fromStdString(*file));
    QImage image = reader.read();
    if (image.isNull())
        return image;
    return image.scaled(kIconPixels, kIconPixels, Qt::KeepAspectRatio, Qt::SmoothTransformation)
        .convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

} // namespace

ApplicationIcons::ApplicationIcons(EventLoop& loop, std::function<void()> changed)
    : loop_(loop)
    , changed_(std::move(changed))
    , queue_("overlay icons") {}

ApplicationIcons::~ApplicationIcons() = default;

QPixmap ApplicationIcons::icon(const std::string& applicationPath) {
    const auto [entry, isNew] = icons_.try_emplace(applicationPath);
    if (!isNew)
        return entry->second;
    queue_.submit([this, alive = std::weak_ptr(alive_), applicationPath] {
        QImage image = loadIcon(applicationPath);
        if (image.isNull())
            return;
        loop_.post([this, alive, applicationPath, image = std::move(image)] {
            if (alive.expired())
                return;
            icons_[applicationPath] = QPixmap::fromImage(image);
            changed_();
        });
    });
    return {};
}

} // namespace varnel
