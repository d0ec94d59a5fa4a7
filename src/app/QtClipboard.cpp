#include "app/QtClipboard.h"

#include <QClipboard>
#include <QMimeData>

#include <memory>

namespace varnel {

bool QtClipboard::write(const ConfigItem& item) {
    const auto json = encodeItem(item);
    if (!json)
        return false;
    auto content = std::make_unique<QMimeData>();
    const std::string type(kConfigItemClipboardType);
    content->setData(QString::fromStdString(type), QByteArray::fromStdString(*json));
    content->setText(QString::fromStdString(*json));
    clipboard_.setMimeData(content.release());
    return clipboard_.ownsClipboard();
}

std::optional<std::string> QtClipboard::data(std::string_view type) {
    const QString name = QString::fromUtf8(type.data(), static_cast<qsizetype>(type.size()));
    const QMimeData* content = clipboard_.mimeData();
    if (!content || !content->hasFormat(name))
        return std::nullopt;
    return content->data(name).toStdString();
}

std::optional<std::string> QtClipboard::plainText() {
    const QMimeData* content = clipboard_.mimeData();
    if (!content || !content->hasText())
        return std::nullopt;
    return content->text().toStdString();
}

} // namespace varnel
