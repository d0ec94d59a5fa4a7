#include "app/QtText.h"
#include "app/settings/SettingRows.h"
#include "app/settings/SettingsPages.h"
#include "base/Localized.h"

#include <QLabel>
#include <QVBoxLayout>

namespace varnel {

namespace {

std::unique_ptr<QWidget> makePage(PreferenceStore& preferences) {
    QVBoxLayout* layout = nullptr;
    auto page = makeSettingsPage(localized("Timing"), {}, layout);
    const SettingContext context{preferences};
    const TimingSettings settings = timingSettings();
    layout->addWidget(makeRowCard({new NumberRow(context, settings.tapThreshold),
                                   new NumberRow(context, settings.stepTimeout),
                                   new NumberRow(context, settings.modifierTimeout)}));
    layout->addWidget(makeSectionTitle(localized("How sequences end")));
    layout->addWidget(makeRowCard(
        {new SwitchRow(context, settings.keepsHintsOpen), new SwitchRow(context, settings.endsUnattended)}));
    layout->addStretch(1);
    return page;
}

} // namespace

SettingsPage makeTimingPage(PreferenceStore& preferences) {
    const TimingSettings settings = timingSettings();
    return {QStringLiteral("timing"),
            qtText(localized("Timing")),
            qtText(localized("timeout threshold milliseconds delay seconds")),
            [&preferences] { return makePage(preferences); },
            {entryFor(settings.tapThreshold), entryFor(settings.stepTimeout),
             entryFor(settings.modifierTimeout), entryFor(settings.keepsHintsOpen),
             entryFor(settings.endsUnattended)}};
}

} // namespace varnel
