#pragma once

#include "app/ShellActions.h"
#include "app/WhyPage.h"
#include "app/settings/Capabilities.h"
#include "app/settings/ConfigFileChoice.h"
#include "app/settings/Settings.h"
#include "app/settings/SettingsPages.h"
#include "base/ManualEventLoop.h"
#include "base/MemoryPreferenceStore.h"
#include "base/PosixFileSystem.h"
#include "config/LocalConfigStorageProvider.h"
#include "tests/plugins/TestPackages.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

namespace varnel {

using testing::TemporaryFolder;

/// Keeps tasks until they are run.
struct StoredTasks final : SerialExecutor {
    void submit(std::function<void()> task) override { tasks.push_back(std::move(task)); }
    std::vector<std::function<void()>> tasks;
};

struct IdleActions final : ShellActions {
    int opened = 0;
    void pause(std::optional<Duration>) override {}
    void resume() override {}
    void reload() override {}
    void openConfiguration() override { ++opened; }
    void showStatus() override {}
    void showSettings(const std::string&) override {}
    void showFirstSteps() override {}
    void showAbout() override {}
    void quit() override {}
};

inline std::string visibleTexts(const QWidget& widget) {
    std::string text;
    for (const QLabel* label : widget.findChildren<QLabel*>())
        if (label->isVisible())
            text += label->text().toStdString() + "\n";
    return text;
}

inline QPushButton* button(const QWidget& widget, const QString& text) {
    for (QPushButton* found : widget.findChildren<QPushButton*>())
        if (found->isVisible() && withoutMnemonic(found->text().toStdString()) == text.toStdString())
            return found;
    return nullptr;
}

inline void click(QWidget* widget) {
    ASSERT_TRUE(widget);
    QTest::mouseClick(widget, Qt::LeftButton);
}

/// The pages of the settings window on a platform without a screen, with all that they work on.
class SettingsTest : public ::testing::Test {
protected:
    SettingsTest() {
        config = std::make_unique<ConfigManager>(
            ConfigManager::Environment{.fileManager = files,
                                       .loop = loop,
                                       .defaultConfigURL = defaultConfigURL(folder.path()),
                                       .printLine = [](std::string_view) {},
                                       .configDidReload = {},
                                       .startProgram = {}},
            *LocalConfigStorageProvider::locate({files, preferences, folder.path(), folder.path()}));
        PluginManagerOptions options;
        options.bundledPluginsURL = folder / "bundled";
        options.homeFolder = folder.path();
        options.verifiedCopiesFolder = folder / "copies";
        plugins = std::make_unique<PluginManager>(options, preferences, &loop);
        decisions = std::make_shared<CapabilityDecisions>(*plugins, worker);
    }
    [[nodiscard]] std::vector<SettingsPage> pages() {
        const auto answer = [this](const auto& take) {
            if (!chosenPath.empty())
                take(chosenPath);
        };
        return {makeTimingPage(preferences),
                makeHintsPage({preferences, {}, [this] { ++samples; }, [this] { ++changes; }}),
                makeConfigFilePage({*config, preferences, actions, answer, answer}),
                makeCapabilitiesPage(decisions),
                makeWhyPage({.lines = [this] { return lines; },
                             .observe =
                                 [this](std::function<void()> observer) {
                                     observed = std::move(observer);
                                     return Subscription([this] { observed = nullptr; });
                                 }})};
    }
    QWidget& page(const char* identifier) {
        for (const SettingsPage& found : pages())
            if (found.identifier == QLatin1String(identifier))
                shown = found.make();
        shown->resize(700, 900);
        shown->show();
        return *shown;
    }
    template <typename Control>
    Control* control(std::string_view key) {
        return shown->findChild<QWidget*>(QString::fromUtf8(key.data()))->findChild<Control*>();
    }
    /// Lets worker and loop do all that is left.
    void settle() {
        loop.runPending();
        while (!worker.tasks.empty()) {
            const auto task = std::move(worker.tasks.front());
            worker.tasks.erase(worker.tasks.begin());
            task();
            loop.runPending();
        }
        QApplication::processEvents(); // what was added to a visible page appears
    }

    TemporaryFolder folder;
    const std::string installed = folder / ".config/varnel/plugins";
    PosixFileSystem files;
    MemoryPreferenceStore preferences;
    ManualEventLoop loop;
    StoredTasks worker;
    IdleActions actions;
    std::unique_ptr<ConfigManager> config;
    std::unique_ptr<PluginManager> plugins;
    std::shared_ptr<CapabilityDecisions> decisions;
    std::string chosenPath;
    std::vector<WhyLine> lines;
    std::function<void()> observed;
    int samples = 0, changes = 0;
    std::unique_ptr<QWidget> shown;
};

} // namespace varnel
