#pragma once

#include "base/EventLoop.h"
#include "base/SerialQueue.h"

#include <QPixmap>

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace varnel {

/// The icons of applications, each looked for once, away from the main thread. Main thread.
class ApplicationIcons {
public:
    /// `changed` is called whenever an icon that was asked for has come. The loop must outlive this object.
    ApplicationIcons(EventLoop& loop, std::function<void()> changed);
    ~ApplicationIcons();
    ApplicationIcons(const ApplicationIcons&) = delete;
    ApplicationIcons& operator=(const ApplicationIcons&) = delete;

    /// Null while it is being looked for, and for an application without one.
    QPixmap icon(const std::string& applicationPath);

private:
    struct Alive {};

    EventLoop& loop_;
    std::function<void()> changed_;
    std::map<std::string, QPixmap> icons_;
    std::shared_ptr<Alive> alive_ = std::make_shared<Alive>();
    SerialQueue queue_;
};

} // namespace varnel
