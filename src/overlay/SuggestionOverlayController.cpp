#include "overlay/SuggestionOverlayController.h"

#include "base/Text.h"
#include "overlay/SuggestionModel.h"

#include <algorithm>
#include <utility>

namespace varnel {
namespace {

constexpr std::size_t kLongestMessage = 200;
constexpr Duration kShortMessageTime = 1200ms;
constexpr Duration kMessageTime = 2500ms;
constexpr Duration kMessageTimePerCharacter = 40ms;
constexpr Duration kLongestMessageTime = 6s;
/// The bar has this many places to be; without motion only a few.
constexpr int kBarPlaces = 200;
constexpr int kBarPlacesWithoutMotion = 4;

/// Long enough to be read.
Duration messageTime(std::string_view message) {
    const Duration time = kMessageTime + kMessageTimePerCharacter * static_cast<int>(message.size());
    return std::min(time, kLongestMessageTime);
}

} // namespace

SuggestionOverlayController::SuggestionOverlayController(HotkeyManager& hotkeys,
                                                         const PreferenceStore& preferences, EventLoop& loop,
                                                         const OverlaySurroundings& surroundings,
                                                         SuggestionOverlayPresenting& presenter)
    : hotkeys_(hotkeys)
    , preferences_(preferences)
    , loop_(loop)
    , surroundings_(surroundings)
    , presenter_(presenter)
    , lastStatus_(hotkeys.statusMessage())
    , lastFinished_(hotkeys.finishedCommands())
    , hintsObserver_(hotkeys.observe(HotkeyManager::Topic::hints, [this] { hintsChanged(); }))
    , statusObserver_(hotkeys.observe(HotkeyManager::Topic::status, [this] { statusChanged(); })) {}

SuggestionOverlayController::~SuggestionOverlayController() {
    hotkeys_.setHintPageCount(1);
}

void SuggestionOverlayController::prepare() {
    presenter_.prepare(appearance(overlayOptions(preferences_)));
}

void SuggestionOverlayController::showSample() {
    sampleEnd_ = loop_.now() + kSampleTime;
    refresh();
}

void SuggestionOverlayController::hintsChanged() {
    const bool wasVisible = hints_.isVisible();
    hints_ = hotkeys_.hintState();
    if (hints_.isVisible() && !wasVisible)
        beginInteraction();
    if (hints_.refusal && hints_.refusal->number != lastRefusal_) {
        lastRefusal_ = hints_.refusal->number;
        refusal_ = hints_.refusal;
        refusalEnd_ = loop_.now() + kRefusalTime;
    } else if (!hints_.refusal && hints_.isVisible()) {
        refusalEnd_.reset();
    }
    if (hints_.deadline && hints_.deadline != barEnd_)
        barLength_ = *hints_.deadline - loop_.now();
    barEnd_ = hints_.deadline;
    refresh();
}

void SuggestionOverlayController::beginInteraction() {
    appearance_ = loop_.now() + overlayOptions(preferences_).delay;
    seenHints_.reset();
    sampleEnd_.reset();
}

void SuggestionOverlayController::statusChanged() {
    const std::string& status = hotkeys_.statusMessage();
    const bool isNews = hotkeys_.finishedCommands() != lastFinished_ || status != lastStatus_;
    lastFinished_ = hotkeys_.finishedCommands();
    lastStatus_ = status;
    const bool isRoutine = hotkeys_.isStatusRoutine();
    const OverlayMessages wish = overlayOptions(preferences_).messages;
    const bool isWanted = wish == OverlayMessages::all || (wish == OverlayMessages::noteworthy && !isRoutine);
    if (!isNews || !isWanted || status.empty())
        return;
    message_ = singleLine(status, kLongestMessage);
    messageEnd_ = loop_.now() + (isRoutine ? kShortMessageTime : messageTime(message_));
    refresh();
}

void SuggestionOverlayController::refresh() {
    const OverlayOptions options = overlayOptions(preferences_);
    if (const auto state = wanted(options))
        present(*state, options);
    else
        withdraw();
    moveBar(options);
    armTimer();
}

/// What ought to be seen; the more urgent first.
std::optional<SuggestionOverlayState> SuggestionOverlayController::wanted(const OverlayOptions& options) {
    if (hints_.isVisible() && hintsMayShow(options))
        return hintsState(options);
    if (isPending(refusalEnd_))
        return refusedState();
    if (isPending(messageEnd_)) {
        SuggestionOverlayState state;
        state.message = message_;
        return state;
    }
    return isPending(sampleEnd_) ? std::optional(sampleState(naming())) : std::nullopt;
}

bool SuggestionOverlayController::hintsMayShow(const OverlayOptions& options) const {
    if (!options.showsHints)
        return false;
    const bool areUp = seenHints_.has_value();
    switch (hints_.interaction) {
    case Interaction::frozenOverlay:
        return true;
    case Interaction::selectionFeedback:
        // Who was faster than the hints need not be shown what was typed.
        return areUp || options.delay == Duration::zero();
    default:
        return areUp || !isPending(appearance_);
    }
}

SuggestionOverlayState SuggestionOverlayController::hintsState(const OverlayOptions& options) {
    SuggestionOverlayState state = suggestionState(hints_, options.order, naming());
    if (!isPending(refusalEnd_))
        state.refused.clear();
    if (hints_.interaction == Interaction::selectionFeedback)
        keepRowsAroundChoice(state);
    else
        seenHints_ = state;
    if (state.message.empty() && isPending(messageEnd_))
        state.message = message_;
    return state;
}

/// The row that was taken stays among the rows that it was taken from, so that nothing jumps.
void SuggestionOverlayController::keepRowsAroundChoice(SuggestionOverlayState& state) const {
    if (!hints_.areChoices || !seenHints_ || state.rows.size() != 1)
        return;
    const SuggestionRow& chosen = state.rows.front();
    const auto isChosen = [&](const SuggestionRow& row) {
        return row.caps == chosen.caps && row.name == chosen.name;
    };
    if (std::ranges::none_of(seenHints_->rows, isChosen))
        return;
    std::vector<SuggestionRow> rows = seenHints_->rows;
    for (SuggestionRow& row : rows)
        row.isRuledOut = !(row.isChosen = isChosen(row));
    state.rows = std::move(rows);
    state.pageTurns = seenHints_->pageTurns;
}

SuggestionOverlayState SuggestionOverlayController::refusedState() const {
    SuggestionOverlayState alone = refusalState(*refusal_, naming());
    if (!seenHints_ || seenHints_->sequence != alone.sequence)
        return alone;
    SuggestionOverlayState state = *seenHints_;
    showRefusal(state, *refusal_, naming());
    state.message = alone.message;
    return state;
}

void SuggestionOverlayController::present(const SuggestionOverlayState& state,
                                          const OverlayOptions& options) {
    const OverlayAppearance look = appearance(options);
    if (shown_ == state && shownAppearance_ == look)
        return;
    shown_ = state;
    shownAppearance_ = look;
    hotkeys_.setHintPageCount(presenter_.show(state, look));
}

void SuggestionOverlayController::withdraw() {
    if (!std::exchange(shown_, std::nullopt))
        return;
    hotkeys_.setHintPageCount(1);
    presenter_.hide();
}

void SuggestionOverlayController::moveBar(const OverlayOptions& options) {
    barTimer_.reset();
    if (!shown_ || !shown_->hasTimeLimit || !barEnd_ || barLength_ <= Duration::zero())
        return;
    const bool hasMotion = !options.wantsLessMotion && !surroundings_.prefersLessMotion();
    const Duration left = std::max(*barEnd_ - loop_.now(), Duration::zero());
    const int places = hasMotion ? kBarPlaces : kBarPlacesWithoutMotion;
    const Duration step = hasMotion ? std::max(barLength_ / places, kShortestBarStep) : barLength_ / places;
    // Without motion the bar stands at whole steps only, the fuller one first.
    const double fraction = std::chrono::duration<double>(left) / std::chrono::duration<double>(barLength_);
    const auto steps = (left + step - Duration(1)) / step;
    presenter_.setTimeLeft(std::clamp(hasMotion ? fraction : static_cast<double>(steps) / places, 0.0, 1.0));
    if (left > Duration::zero())
        barTimer_ = loop_.after(hasMotion ? step : left - (steps - 1) * step,
                                [this] { moveBar(overlayOptions(preferences_)); });
}

void SuggestionOverlayController::armTimer() {
    timer_.reset();
    std::optional<TimePoint> next;
    const bool waitsToAppear = hints_.isVisible() && !seenHints_;
    for (const auto& time :
         {waitsToAppear ? appearance_ : std::nullopt, refusalEnd_, messageEnd_, sampleEnd_})
        if (isPending(time) && (!next || *time < *next))
            next = time;
    if (next)
        timer_ = loop_.after(*next - loop_.now(), [this] { refresh(); });
}

bool SuggestionOverlayController::isPending(const std::optional<TimePoint>& time) const {
    return time && *time > loop_.now();
}

KeyNaming SuggestionOverlayController::naming() const {
    return {[this](KeyCode code) { return surroundings_.keyLabel(code); },
            surroundings_.namesKeysBySymbols()};
}

OverlayAppearance SuggestionOverlayController::appearance(const OverlayOptions& options) const {
    OverlayAppearance look{options.position, options.textSize, options.theme, options.showsIcons};
    if (look.theme == OverlayTheme::system)
        if (const auto isDark = surroundings_.prefersDark())
            look.theme = *isDark ? OverlayTheme::dark : OverlayTheme::light;
    return look;
}

} // namespace varnel
