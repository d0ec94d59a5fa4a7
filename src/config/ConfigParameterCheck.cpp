#include "config/ConfigParameterCheck.h"

#include "base/JSONWriter.h"
#include "base/Localized.h"
#include "base/Text.h"
#include "config/ConfigFindings.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

namespace varnel {
namespace {

using Parameter = KnownAction::Parameter;
using Kind = Parameter::Kind;

/// The longest list of choices that a message tells in full.
constexpr std::size_t kMostChoicesTold = 8;

std::string plain(const JSONValue& value) {
    return value.string() ? *value.string() : writeCompactJSON(value);
}

std::string withoutPunctuation(const std::string& text) {
    std::string letters = lowercased(text);
    std::erase_if(letters, [](char c) { return c == ' ' || c == '-' || c == '_'; });
    return letters;
}

/// The parameters of one action held against one of its forms.
class FormCheck {
public:
    FormCheck(const ConfigAction& action, const KnownAction::Form& form)
        : action_(action)
        , form_(form) {}

    std::vector<ParameterProblem> run() {
        noteMisspelled();
        for (const Parameter& parameter : form_)
            if (isShown(parameter))
                check(parameter);
        for (const auto& [meant, written] : misspelled_)
            add(RuleID::unknownParameter, written,
                localized("has the parameter %1, which %2 does not know; did you mean %3?",
                          {quoteForMessage(written), action_.pluginID, quoteForMessage(meant)}));
        return std::move(problems_);
    }

private:
    void add(RuleID rule, std::string key, std::string clause) {
        problems_.push_back({rule, std::move(key), std::move(clause)});
    }

    [[nodiscard]] const JSONValue* valueOf(std::string_view key) const {
        const auto found = action_.params.find(key);
        return found == action_.params.end() || found->second.isNull() ? nullptr : &found->second;
    }

    [[nodiscard]] bool isShown(const Parameter& parameter) const {
        if (parameter.dependsOn.empty() || parameter.shownWhen.empty())
            return true;
        const JSONValue* value = valueOf(parameter.dependsOn);
        if (!value) {
            const auto other = std::ranges::find(form_, parameter.dependsOn, &Parameter::key);
            value = other != form_.end() && other->defaultValue ? &*other->defaultValue : nullptr;
        }
        return value && std::ranges::find(parameter.shownWhen, plain(*value)) != parameter.shownWhen.end();
    }

    /// Unknown names that are near to the name of a parameter that is not given.
    void noteMisspelled() {
        for (const auto& [key, value] : action_.params)
            if (std::ranges::find(form_, key, &Parameter::key) == form_.end())
                if (const std::string meant = nearest(key, absent()); !meant.empty())
                    misspelled_.emplace(meant, key);
    }

    [[nodiscard]] std::vector<std::string> absent() const {
        std::vector<std::string> keys;
        for (const Parameter& parameter : form_)
            if (!action_.params.contains(parameter.key))
                keys.push_back(parameter.key);
        return keys;
    }

    void check(const Parameter& parameter) {
        const JSONValue* value = valueOf(parameter.key);
        const bool isBlank = value && value->string() && trimmed(*value->string()).empty();
        if (!value && action_.params.contains(parameter.key) && isDeliveryMode(parameter))
            return checkChoice(parameter, nullptr);
        if (!value || (isBlank && parameter.required))
            return checkAbsent(parameter);
        if (isBlank && parameter.kind != Kind::choice)
            return;
        checkKind(parameter, *value);
    }

    void checkAbsent(const Parameter& parameter) {
        if (!parameter.required || parameter.defaultValue)
            return;
        const auto misspelled = misspelled_.find(parameter.key);
        const std::string hint =
            misspelled == misspelled_.end()
                ? std::string(".")
                : localized("; did you mean it by %1?", {quoteForMessage(misspelled->second)});
        if (misspelled != misspelled_.end())
            misspelled_.erase(misspelled);
        const bool isOperation = action_.pluginID == core::aerospace && !parameter.dependsOn.empty();
        const JSONValue* operation = isOperation ? valueOf(parameter.dependsOn) : nullptr;
        if (operation)
            add(RuleID::incompleteOperation, parameter.key,
                localized("lacks the parameter %1 of the operation %2%3 Add it to the action's \"params\".",
                          {quoteForMessage(parameter.key), quoteForMessage(plain(*operation)), hint}));
        else
            add(RuleID::missingParameter, parameter.key,
                localized("lacks the parameter %1 of %2 %3%4 Add it to the action's \"params\".",
                          {quoteForMessage(parameter.key), action_.pluginID,
                           quoteForMessage(action_.actionID), hint}));
    }

    void checkKind(const Parameter& parameter, const JSONValue& value) {
        const double* number = value.number();
        switch (parameter.kind) {
        case Kind::any:
            return;
        case Kind::text:
        case Kind::application:
            return expect(value.string(), parameter, value, localized("a text"));
        case Kind::boolean:
            return expect(value.boolean(), parameter, value, localized("true or false"));
        case Kind::integer:
            return expect(number && std::trunc(*number) == *number, parameter, value,
                          localized("a whole number"));
        case Kind::number:
            return expect(number, parameter, value, localized("a number"));
        case Kind::choice:
            return checkChoice(parameter, &value);
        case Kind::shortcut:
            return checkShortcut(parameter, value);
        }
    }

    void expect(bool fits, const Parameter& parameter, const JSONValue& value, const std::string& expected) {
        if (!fits)
            add(RuleID::mistypedParameter, parameter.key,
                localized("has the parameter %1 set to %2, but it must be %3.",
                          {quoteForMessage(parameter.key), quoteForMessage(plain(value)), expected}));
    }

    [[nodiscard]] bool isDeliveryMode(const Parameter& parameter) const {
        return action_.pluginID == core::shortcut && parameter.key == "deliveryMode";
    }

    static bool isChoice(const Parameter& parameter, const JSONValue& value) {
        return std::ranges::any_of(parameter.choices, [&](const JSONValue& choice) {
            return choice == value ||
                   (parameter.ignoresSpelling && choice.string() && value.string() &&
                    withoutPunctuation(*choice.string()) == withoutPunctuation(*value.string()));
        });
    }

    /// `value` is null for the JSON value of that name.
    void checkChoice(const Parameter& parameter, const JSONValue* value) {
        if (parameter.choices.empty() || (value && isChoice(parameter, *value)))
            return;
        std::vector<std::string> choices;
        choices.reserve(parameter.choices.size());
        for (const JSONValue& choice : parameter.choices)
            choices.push_back(plain(choice));
        const std::string given = value ? plain(*value) : "null";
        std::string hint = suggestion(given, choices);
        if (choices.size() <= kMostChoicesTold)
            hint += " " + localized("It is one of: %1.", {join(choices, ", ")});
        add(isDeliveryMode(parameter) ? RuleID::invalidDeliveryMode : RuleID::mistypedParameter,
            parameter.key,
            localized("has the parameter %1 set to %2, which is none of its choices%3",
                      {quoteForMessage(parameter.key), quoteForMessage(given), hint}));
    }

    void checkShortcut(const Parameter& parameter, const JSONValue& value) {
        const std::string* text = value.string();
        if (text && KeyTokenCodec::parse(*text))
            return;
        const std::string reason = !text ? localized("it is %1, not a string", {value.kindName()})
                                   : KeyTokenCodec::isModifierOnly(*text) ? localized("it names no key")
                                                                          : KeyTokenCodec::explain(*text);
        add(RuleID::invalidShortcut, parameter.key,
            localized("sends a shortcut that is none: %1. Correct %2.",
                      {reason, quoteForMessage(parameter.key)}));
    }

    const ConfigAction& action_;
    const KnownAction::Form& form_;
    std::map<std::string, std::string> misspelled_; ///< parameter that is not given to the name that is
    std::vector<ParameterProblem> problems_;
};

} // namespace

std::vector<ParameterProblem> checkParameters(const ConfigAction& action, const KnownAction& known) {
    std::optional<std::vector<ParameterProblem>> best;
    for (const KnownAction::Form& form : known.forms) {
        std::vector<ParameterProblem> problems = FormCheck(action, form).run();
        if (problems.empty())
            return {};
        if (!best || problems.size() < best->size())
            best = std::move(problems);
    }
    return best.value_or(std::vector<ParameterProblem>{});
}

} // namespace varnel
