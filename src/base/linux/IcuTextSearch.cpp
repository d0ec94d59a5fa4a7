#include "base/linux/IcuTextSearch.h"

#include "base/UTF8.h"

#include <unicode/ucol.h>
#include <unicode/ucoleitr.h>

#include <algorithm>

namespace varnel {

namespace {

void assignUTF16(std::u16string& out, std::string_view text) {
    out.clear();
    while (!text.empty()) {
        const std::size_t length = utf8CharacterLength(text);
        const unsigned code = length ? decodeUTF8(text.substr(0, length)) : 0xFFFD;
        if (code >= 0x10000)
            out += {static_cast<char16_t>(0xD7C0 + (code >> 10)),
                    static_cast<char16_t>(0xDC00 | (code & 0x3FF))};
        else
            out += static_cast<char16_t>(code);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
}

} // namespace

IcuTextSearch::IcuTextSearch(std::string locale)
    : locale_(std::move(locale)) {}

IcuTextSearch::~IcuTextSearch() {
    if (elements_)
        ucol_closeElements(elements_);
    if (collator_)
        ucol_close(collator_);
}

void IcuTextSearch::open() {
    isOpen_ = true;
    UErrorCode status = U_ZERO_ERROR;
    collator_ = ucol_open(locale_.empty() ? nullptr : locale_.c_str(), &status);
    // Some languages ignore punctuation, which keys are full of ("ctrl+j").
    if (collator_)
        ucol_setAttribute(collator_, UCOL_ALTERNATE_HANDLING, UCOL_NON_IGNORABLE, &status);
    if (collator_)
        ucol_setAttribute(collator_, UCOL_NORMALIZATION_MODE, UCOL_ON, &status);
    if (U_SUCCESS(status))
        elements_ = ucol_openElements(collator_, text_.data(), 0, &status);
}

SearchKey IcuTextSearch::key(std::string_view text) {
    if (!isOpen_)
        open();
    if (!elements_)
        return plain_.key(text);
    SearchKey key;
    key.elements.reserve(text.size());
    assignUTF16(text_, text);
    UErrorCode status = U_ZERO_ERROR;
    ucol_setText(elements_, text_.data(), static_cast<int32_t>(text_.size()), &status);
    int32_t before = 0;
    for (int32_t order = 0; (order = ucol_next(elements_, &status)) != UCOL_NULLORDER;) {
        const int32_t after = ucol_getOffset(elements_);
        // Cases differ in the last byte only.
        const auto weight = static_cast<std::uint32_t>(order) >> 8;
        // An accent belongs to the letter before it, and so does the second half of a letter.
        const bool beginsLetter = after != before && (weight >> 8 != 0 || before == 0);
        before = after;
        if (weight != 0)
            key.add(weight, beginsLetter ? SearchKey::kMayBegin | SearchKey::kMayEndBefore : 0);
    }
    return key;
}

std::unique_ptr<TextSearching> makeSystemTextSearch() {
    return std::make_unique<IcuTextSearch>();
}

} // namespace varnel
