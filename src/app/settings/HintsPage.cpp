#include "app/Look.h"
#include "app/QtText.h"
#include "app/settings/HintPreview.h"
#include "app/settings/SettingRows.h"
#include "app/settings/SettingsPages.h"
#include "base/Localized.h"

#include <QHBoxLayout>
#include <QPointer>
#include <QVBoxLayout>

namespace varnel {

namespace {

std::unique_ptr<QWidget> makePage(const HintsPageContext& context) {
    QVBoxLayout* layout = nullptr;
    auto page = makeSettingsPage(localized("Hints"), {}, layout);
    auto* preview = new HintPreview(context.preferences, context.naming);
    const SettingContext rows{context.preferences, [preview, changed = context.changed] {
                                  preview->refresh();
                                  if (changed)
                                      changed();
                              }};
    const HintSettings settings = hintSettings();
    auto* sample = makeButton(qtText(localized("Show a Sample on the S&creen")));
    QObject::connect(sample, &QPushButton::clicked, sample, [show = context.showSample] { show(); });
    layout->addWidget(preview);
    layout->addWidget(sample, 0, Qt::AlignHCenter);
    layout->addWidget(
        makeRowCard({new SwitchRow(rows, settings.showsHints), new NumberRow(rows, settings.delay),
                     new ChoiceRow(rows, settings.position)}));
    layout->addWidget(makeSectionTitle(localized("Appearance")));
    layout->addWidget(
        makeRowCard({new NumberRow(rows, settings.textSize), new ChoiceRow(rows, settings.theme),
                     new ChoiceRow(rows, settings.order), new SwitchRow(rows, settings.showsIcons),
                     new ChoiceRow(rows, settings.motion)}));
    layout->addWidget(makeSectionTitle(localized("Messages of commands")));
    layout->addWidget(makeRowCard({new ChoiceRow(rows, settings.messages)}));
    layout->addStretch(1);
    return page;
}

} // namespace

SettingsPage makeHintsPage(const HintsPageContext& context) {
    const HintSettings settings = hintSettings();
    return {QStringLiteral("overlay"),
            qtText(localized("Hints")),
            qtText(localized("overlay suggestions window position theme dark light font size")),
            [context] { return makePage(context); },
            {entryFor(settings.showsHints), entryFor(settings.delay), entryFor(settings.position),
             entryFor(settings.textSize), entryFor(settings.theme), entryFor(settings.order),
             entryFor(settings.showsIcons), entryFor(settings.motion), entryFor(settings.messages)}};
}

} // namespace varnel
