#include <ZEL/ZEL_InstanceString.h>

#include <KIT/KIT_String.h>
#include <KIT/KIT_StringHolder.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/support/ZEL_InstanceMarksPrivate.h>

#include <string_view>

namespace
{

/// The position of the first unprotected `#`; npos without one.
size_t findMark(std::string_view text)
{
    for (size_t i = 0; i < text.size(); i++) {
        if (text[i] == '\\') {
            i++;
        } else if (text[i] == '#') {
            return i;
        }
    }
    return std::string_view::npos;
}

/// Fills in the numbers; surplus `#` stay.
void fillMarks(KIT_WorkBuffer &out, std::string_view rest, const int *instances, int count,
               bool fillToken, bool repeat)
{
    for (int64_t round = 0;; round++) {
        if (round >= count && !repeat) {
            out.append(rest);
            return;
        }
        const int64_t number = instances[round % count];
        const size_t mark = findMark(rest);
        if (mark != std::string_view::npos) {
            out.append(rest.substr(0, mark));
            out.appendNumber(number);
            rest.remove_prefix(mark + 1);
        } else {
            out.append(rest);
            rest = std::string_view();
            if (fillToken) {
                if (round > 0) {
                    out.append('_');
                }
                out.appendNumber(number);
            }
        }
        if (repeat && rest.empty()) {
            return;
        }
    }
}

/// A token may contain no `#` at all.
void replaceMarks(KIT_WorkBuffer &out)
{
    if (out.view().find('#') == std::string_view::npos) {
        return;
    }
    const KIT_WorkBuffer filled(out);
    out.clear();
    for (const char c : filled.view()) {
        out.append(c == '#' ? '_' : c);
    }
}

} // namespace

std::int64_t ZELcountMarks(std::string_view text)
{
    std::int64_t marks = 0;
    if (text.find('#') == std::string_view::npos) {
        return marks; // many times faster than the loop, for most texts
    }
    for (size_t at = findMark(text); at != std::string_view::npos; at = findMark(text)) {
        marks++;
        text.remove_prefix(at + 1);
    }
    return marks;
}

void ZELinstanceString(KIT_WorkBuffer &out, const KIT_StringRef &text, const int *instances,
                       int count, bool fillToken, bool repeat)
{
    out.clear();
    if (count <= 0 || !instances) {
        out.append(text);
    } else {
        fillMarks(out, text.view(), instances, count, fillToken, repeat && !fillToken);
    }
    if (fillToken) {
        replaceMarks(out);
    }
}

void ZELinstanceString(KIT_WorkBuffer &out, const KIT_StringRef &text,
                       const KIT_ValArray<int> &instances, bool fillToken, bool repeat)
{
    ZELinstanceString(out, text, instances.data(), static_cast<int>(instances.size()), fillToken,
                      repeat);
}

void ZELinstanceString(KIT_String &out, const KIT_StringRef &text, const int *instances, int count,
                       bool fillToken, bool repeat)
{
    KIT_WorkBuffer buffer;
    ZELinstanceString(buffer, text, instances, count, fillToken, repeat);
    buffer.copyIntoString(out);
}

void ZELinstanceString(KIT_String &out, const KIT_StringRef &text,
                       const KIT_ValArray<int> &instances, bool fillToken, bool repeat)
{
    ZELinstanceString(out, text, instances.data(), static_cast<int>(instances.size()), fillToken,
                      repeat);
}

void ZELinstanceString(KIT_StringHolder &out, const KIT_StringRef &text, const int *instances,
                       int count, bool fillToken, bool repeat)
{
    KIT_WorkBuffer buffer;
    ZELinstanceString(buffer, text, instances, count, fillToken, repeat);
    out = KIT_StringHolder(buffer.buffer(), buffer.length());
}

void ZELinstanceString(KIT_StringHolder &out, const KIT_StringRef &text,
                       const KIT_ValArray<int> &instances, bool fillToken, bool repeat)
{
    ZELinstanceString(out, text, instances.data(), static_cast<int>(instances.size()), fillToken,
                      repeat);
}
