#include <KIT/KIT_String.h>

#include <BAS/BAS_Allocate.h>
#include <BAS/BAS_Character.h>
#include <BAS/BAS_Number.h>
#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_StringRef.h>
#include <KIT/KIT_WorkBuffer.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <utility>

namespace
{
char toLower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

/// Whether a word starts or ends here: not both neighbours are word characters.
bool isWordEdge(std::string_view text, size_t at)
{
    return at == 0 || at >= text.size() || !BASisWordChar(text[at - 1]) || !BASisWordChar(text[at]);
}

bool isWholeWord(std::string_view text, size_t at, size_t length)
{
    return isWordEdge(text, at) && isWordEdge(text, at + length);
}

std::string_view viewOf(const char *text)
{
    return std::string_view(text ? text : "");
}
} // namespace

// -------------------------------------------------------------------- //
// Making, borrowing, owning
// -------------------------------------------------------------------- //

KIT_String::KIT_String(const char *text, bool copy)
{
    if (copy) {
        harden(text);
    } else {
        myText = text;
    }
}

KIT_String::KIT_String(const KIT_StringRef &text)
{
    *this = text;
}

KIT_String::KIT_String(const std::string &text)
{
    assign(text.data(), text.size());
}

KIT_String::KIT_String(const KIT_String &other)
{
    *this = other;
}

KIT_String::KIT_String(KIT_String &&other) noexcept
{
    swap(other);
}

KIT_String::~KIT_String()
{
    release();
}

KIT_String &KIT_String::operator=(const char *text)
{
    harden(text);
    return *this;
}

KIT_String &KIT_String::operator=(const KIT_StringRef &text)
{
    harden(text.c_str(), text.length());
    return *this;
}

KIT_String &KIT_String::operator=(const std::string &text)
{
    assign(text.data(), text.size());
    return *this;
}

KIT_String &KIT_String::operator=(const KIT_String &other)
{
    harden(other.c_str(), other.length());
    return *this;
}

KIT_String &KIT_String::operator=(KIT_String &&other) noexcept
{
    adopt(other);
    return *this;
}

void KIT_String::harden()
{
    if (myText && myCapacity == 0) {
        assign(myText, std::strlen(myText));
    }
}

void KIT_String::harden(const char *text)
{
    harden(text, text ? std::strlen(text) : 0);
}

void KIT_String::harden(const char *text, size_t length)
{
    if (text) {
        assign(text, length);
    } else {
        clear();
    }
}

void KIT_String::borrow(const char *text)
{
    if (!myCapacity || text != myText) {
        release();
        myText = text;
    }
}

void KIT_String::adopt(KIT_String &other)
{
    if (this != &other) {
        release();
        swap(other);
    }
}

char *KIT_String::steal()
{
    harden();
    char *const text = isHard() ? writable() : nullptr;
    if (text) {
        myText = nullptr;
        myLength = 0;
        myCapacity = 0;
    }
    return text;
}

void KIT_String::clear()
{
    release();
}

void KIT_String::swap(KIT_String &other) noexcept
{
    std::swap(myText, other.myText);
    std::swap(myLength, other.myLength);
    std::swap(myCapacity, other.myCapacity);
}

void KIT_String::release() noexcept
{
    if (myCapacity) {
        BASfastFree(writable());
    }
    myText = nullptr;
    myLength = 0;
    myCapacity = 0;
}

void KIT_String::assign(const char *text, size_t length)
{
    length = ::strnlen(text, length);
    if (length >= myCapacity) {
        char *const copy = static_cast<char *>(BASfastAllocate(length + 1));
        if (!copy) {
            return;
        }
        std::memcpy(copy, text, length);
        release();
        myText = copy;
        myCapacity = length + 1;
    } else {
        std::memmove(writable(), text, length);
    }
    writable()[length] = '\0';
    myLength = length;
}

bool KIT_String::reserve(size_t wanted)
{
    if (wanted < myCapacity) {
        return true;
    }
    const size_t held = length();
    const size_t capacity = std::max({wanted + 1, myCapacity + myCapacity / 2, size_t{16}});
    char *const grown = static_cast<char *>(BASfastAllocate(capacity));
    if (!grown) {
        return false;
    }
    std::memcpy(grown, nonNullStr(), held);
    grown[held] = '\0';
    release();
    myText = grown;
    myLength = held;
    myCapacity = capacity;
    return true;
}

// -------------------------------------------------------------------- //
// Reading and appending
// -------------------------------------------------------------------- //

size_t KIT_String::length() const
{
    return myCapacity ? myLength : (myText ? std::strlen(myText) : 0);
}

char KIT_String::charAt(size_t index) const
{
    return index < length() ? myText[index] : '\0';
}

int64_t KIT_String::getMemoryUsage(bool inclusive) const
{
    return static_cast<int64_t>(myCapacity + (inclusive ? sizeof(*this) : 0));
}

KIT_String &KIT_String::operator+=(const char *text)
{
    append(text, text ? std::strlen(text) : 0);
    return *this;
}

KIT_String &KIT_String::operator+=(char c)
{
    append(&c, 1);
    return *this;
}

KIT_String &KIT_String::operator+=(const KIT_String &text)
{
    append(text.c_str(), text.length());
    return *this;
}

KIT_String &KIT_String::operator+=(const KIT_StringRef &text)
{
    append(text.c_str(), text.length());
    return *this;
}

void KIT_String::append(const char *text, size_t length)
{
    if (!text) {
        return;
    }
    length = ::strnlen(text, length);
    const size_t held = this->length();
    const uintptr_t offset =
        reinterpret_cast<uintptr_t>(text) - reinterpret_cast<uintptr_t>(myText);
    const bool insideFlag = myCapacity != 0 && offset <= held;
    if (length > SIZE_MAX / 2 - held || !reserve(held + length)) {
        return;
    }
    std::memmove(writable() + held, insideFlag ? myText + offset : text, length);
    myLength = held + length;
    writable()[myLength] = '\0';
}

// -------------------------------------------------------------------- //
// Comparing
// -------------------------------------------------------------------- //

int KIT_String::compare(const char *text, bool ignoreCase) const
{
    const char *a = nonNullStr();
    const char *b = text ? text : "";
    if (!ignoreCase) {
        return std::strcmp(a, b);
    }
    while (*a && toLower(*a) == toLower(*b)) {
        ++a;
        ++b;
    }
    return static_cast<unsigned char>(toLower(*a)) - static_cast<unsigned char>(toLower(*b));
}

bool KIT_String::operator<(const KIT_String &other) const
{
    return compare(other.c_str()) < 0;
}

bool KIT_String::findString(const char *text, bool word, bool pattern) const
{
    const std::string_view whole = view();
    const std::string_view sought = viewOf(text);
    if (sought.empty()) {
        return false;
    }
    if (!pattern) {
        size_t at = whole.find(sought);
        while (word && at != whole.npos && !isWholeWord(whole, at, sought.size())) {
            at = whole.find(sought, at + 1);
        }
        return at != whole.npos;
    }
    if (!word) {
        return match(text);
    }
    for (size_t at = 0; at < whole.size();) {
        size_t end = at;
        while (end < whole.size() && BASisWordChar(whole[end])) {
            end++;
        }
        KIT_String one;
        one.harden(whole.data() + at, end - at);
        if (end > at && one.match(text)) {
            return true;
        }
        at = end + 1;
    }
    return false;
}

bool KIT_String::startsWith(const char *prefix) const
{
    const std::string_view start = viewOf(prefix);
    return view().substr(0, start.size()) == start;
}

bool KIT_String::endsWith(const char *suffix) const
{
    const std::string_view end = viewOf(suffix);
    const std::string_view whole = view();
    return whole.size() >= end.size() && whole.substr(whole.size() - end.size()) == end;
}

bool operator==(const KIT_String &a, const KIT_StringRef &b)
{
    return a.view() == b.view();
}

bool operator!=(const KIT_String &a, const KIT_StringRef &b)
{
    return !(a == b);
}

bool operator==(const KIT_StringRef &a, const KIT_String &b)
{
    return b == a;
}

bool operator!=(const KIT_StringRef &a, const KIT_String &b)
{
    return !(b == a);
}

// -------------------------------------------------------------------- //
// Looking at bytes
// -------------------------------------------------------------------- //

int KIT_String::countChar(char c) const
{
    const std::string_view text = view();
    return static_cast<int>(std::count(text.begin(), text.end(), c));
}

char KIT_String::lastChar() const
{
    const std::string_view text = view();
    return text.empty() ? '\0' : text.back();
}

bool KIT_String::hasWhiteSpace() const
{
    const std::string_view text = view();
    return std::any_of(text.begin(), text.end(), BASisBlank);
}

const char *KIT_String::findChar(char c) const
{
    return myText && c ? std::strchr(myText, c) : nullptr;
}

// -------------------------------------------------------------------- //
// Numbers
// -------------------------------------------------------------------- //

bool KIT_String::isFloat(bool skipBlanks, bool loose, bool allowUnderscore) const
{
    std::string_view text = view();
    KIT_WorkBuffer joined;
    if (allowUnderscore) {
        for (size_t i = 0; i < text.size(); i++) {
            if (text[i] != '_' || i == 0 || i + 1 == text.size() || !BASisDigit(text[i - 1]) ||
                !BASisDigit(text[i + 1])) {
                joined.append(text[i]);
            }
        }
        text = joined.view();
    }
    if (text.empty() || (!skipBlanks && BASisBlank(text[0]))) {
        return false;
    }
    double value;
    size_t used = BASparseFloat(text.data(), text.size(), value);
    if (used == 0 || loose) {
        return used != 0;
    }
    while (skipBlanks && used < text.size() && BASisBlank(text[used])) {
        used++;
    }
    return used == text.size();
}

bool KIT_String::isInteger(int flags) const
{
    const bool blanksFlag = (flags & KIT_INTEGER_SKIP_BLANKS) != 0;
    const char *end = nullptr;
    int64_t value;
    if (!BASparseInteger(myText, &end, value, 10, blanksFlag ? 0 : BAS_PARSE_NO_BLANKS)) {
        return false;
    }
    while (blanksFlag && BASisBlank(*end)) {
        ++end;
    }
    return *end == '\0';
}

double KIT_String::toFloat() const
{
    return BASparseFloat(myText);
}

int64_t KIT_String::toInteger() const
{
    return BASparseInteger(myText);
}

void KIT_String::itoa(int64_t value)
{
    char digits[24];
    const std::to_chars_result result = std::to_chars(digits, digits + sizeof(digits), value);
    assign(digits, static_cast<size_t>(result.ptr - digits));
}

// -------------------------------------------------------------------- //
// Changing
// -------------------------------------------------------------------- //

void KIT_String::removeTrailingSpace()
{
    const std::string_view text = view();
    size_t end = text.size();
    while (end > 0 && BASisBlank(text[end - 1])) {
        end--;
    }
    truncate(end);
}

void KIT_String::removeLeadingSpace()
{
    const std::string_view text = view();
    const auto first = std::find_if_not(text.begin(), text.end(), BASisBlank);
    if (first != text.begin()) {
        const size_t blanks = static_cast<size_t>(first - text.begin());
        assign(myText + blanks, text.size() - blanks);
    }
}

void KIT_String::trim()
{
    removeTrailingSpace();
    removeLeadingSpace();
}

void KIT_String::truncate(size_t length)
{
    if (length < this->length()) {
        assign(myText, length);
    }
}

template <class Accept>
int KIT_String::replaceWhere(const char *from, const char *to, int limit, Accept accept)
{
    const std::string_view text = view();
    const std::string_view old = viewOf(from);
    const std::string_view replacement = viewOf(to);
    if (old.empty()) {
        return 0;
    }
    KIT_WorkBuffer made;
    int count = 0;
    size_t done = 0;
    for (size_t at = text.find(old); at != text.npos && count < limit;) {
        if (!accept(text, at)) {
            at = text.find(old, at + 1);
            continue;
        }
        made.append(text.substr(done, at - done));
        made.append(replacement);
        done = at + old.size();
        at = text.find(old, done);
        count++;
    }
    if (count == 0) {
        return 0;
    }
    made.append(text.substr(done));
    // A shorter result means that memory ran out on the way.
    const size_t replaced = static_cast<size_t>(count);
    if (made.length() != text.size() - replaced * old.size() + replaced * replacement.size()) {
        return 0;
    }
    made.copyIntoString(*this);
    return count;
}

int KIT_String::substitute(const char *from, const char *to, bool all)
{
    return replaceWhere(from, to, all ? INT32_MAX : 1,
                        [](std::string_view, size_t) { return true; });
}

int KIT_String::changeString(const char *from, const char *to, bool word)
{
    const size_t length = viewOf(from).size();
    return replaceWhere(from, to, INT32_MAX, [=](std::string_view text, size_t at) {
        return !word || isWholeWord(text, at, length);
    });
}

int KIT_String::changeQuotedWord(const char *from, const char *to, char quote, int where)
{
    const size_t length = viewOf(from).size();
    bool insideFlag = false;
    size_t scanned = 0;
    return replaceWhere(from, to, INT32_MAX, [&](std::string_view text, size_t at) {
        for (; scanned < at; scanned++) {
            if (text[scanned] == '\\') {
                scanned++;
            } else if (text[scanned] == quote) {
                insideFlag = !insideFlag;
            }
        }
        return insideFlag == (where != KIT_OUTSIDE_QUOTES) && isWholeWord(text, at, length);
    });
}

void KIT_String::forceAlphaNumeric()
{
    harden();
    for (size_t i = 0; i < myLength; i++) {
        if (!BASisWordChar(myText[i])) {
            writable()[i] = '_';
        }
    }
}

int KIT_String::tokenize(KIT_StringArray &parts, const char *separators) const
{
    const std::string_view text = view();
    const std::string_view stops = viewOf(separators);
    int count = 0;
    size_t at = text.find_first_not_of(stops);
    while (at != text.npos) {
        const size_t end = std::min(text.find_first_of(stops, at), text.size());
        parts.append(text.data() + at, end - at);
        count++;
        at = text.find_first_not_of(stops, end);
    }
    return count;
}
