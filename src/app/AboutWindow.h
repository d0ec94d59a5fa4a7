#pragma once

#include <QWidget>

#include <string>

namespace varnel {

/// What this program is, and where it keeps what it keeps.
class AboutWindow : public QWidget {
public:
    struct Facts {
        std::string version;
        std::string configPath;
        std::string preferencesPath;
    };
    explicit AboutWindow(const Facts& facts);

protected:
    void keyPressEvent(QKeyEvent* event) override;
};

} // namespace varnel
