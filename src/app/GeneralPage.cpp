#include "app/GeneralPage.h"

#include "app/EditorCommand.h"
#include "app/LoginSwitch.h"
#include "app/Look.h"
#include "app/QtText.h"
#include "app/ShellActions.h"
#include "base/Localized.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QVBoxLayout>

namespace varnel {

namespace {

/// The command line of the editor, kept when the field is left or Return is pressed.
QWidget* makeEditorField(PreferenceStore& preferences, ShellActions& actions) {
    auto* field = new QLineEdit(qtText(stringPreference(preferences, kEditorPreference).value_or("")));
    field->setPlaceholderText(qtText(localized("The system's program for the file")));
    auto* note = makeNote(
        qtText(localized("A command line such as “gedit” or “xterm -e vi %f”; %f stands for the file.")));
    QObject::connect(field, &QLineEdit::editingFinished, field, [field, note, &preferences] {
        const QString text = field->text().trimmed();
        const auto kept = preferences.setValue(
            kEditorPreference, text.isEmpty() ? std::optional<JSONValue>() : JSONValue(text.toStdString()));
        if (!kept)
            note->setText(qtText(kept.error()));
    });
    auto* test = makeButton(qtText(localized("Open Configuration")));
    QObject::connect(test, &QPushButton::clicked, test, [&actions] { actions.openConfiguration(); });
    auto* row = new QHBoxLayout;
    row->addWidget(field, 1);
    row->addWidget(test);
    auto* whole = new QWidget;
    whole->setObjectName(QString::fromUtf8(kEditorPreference.data()));
    whole->setFocusProxy(field);
    field->setAccessibleName(qtText(localized("Editor for the configuration")));
    auto* layout = new QVBoxLayout(whole);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(makeParagraph(qtText(localized("Editor for the configuration"))));
    layout->addLayout(row);
    layout->addWidget(note);
    return whole;
}

std::unique_ptr<QWidget> makePage(LaunchAtLogin& login, PreferenceStore& preferences, ShellActions& actions) {
    auto page = std::make_unique<QWidget>();
    auto* layout = new QVBoxLayout(page.get());
    layout->setContentsMargins(12, 20, 24, 20);
    layout->setSpacing(24);
    layout->addWidget(makeHeading(qtText(localized("General"))));
    layout->addWidget(new LoginSwitch(login, preferences));
    layout->addWidget(makeEditorField(preferences, actions));
    auto* again = makeButton(qtText(localized("Show the First Steps Again")));
    QObject::connect(again, &QPushButton::clicked, again, [&actions] { actions.showFirstSteps(); });
    layout->addWidget(again, 0, Qt::AlignLeft);
    layout->addStretch(1);
    return page;
}

} // namespace

SettingsPage makeGeneralPage(LaunchAtLogin& login, PreferenceStore& preferences, ShellActions& actions) {
    return {QStringLiteral("general"),
            qtText(localized("General")),
            qtText(localized("launch start login autostart editor configuration first steps")),
            [&] { return makePage(login, preferences, actions); },
            {{QString::fromUtf8(kLaunchAtLoginDesired.data()), qtText(localized("Start Varnel! at login")),
              qtText(localized("launch autostart"))},
             {QString::fromUtf8(kEditorPreference.data()),
              qtText(localized("Editor for the configuration")),
              {}}}};
}

} // namespace varnel
