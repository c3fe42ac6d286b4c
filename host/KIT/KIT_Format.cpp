#include <KIT/KIT_Format.h>

#include <KIT/KIT_WorkBuffer.h>

#include <algorithm>

#include <fmt/args.h>
#include <fmt/format.h>

namespace
{
using Store = fmt::dynamic_format_arg_store<fmt::format_context>;

void collect(Store &store, const KIT_FormatArg &arg)
{
    switch (arg.getKind()) {
    case KIT_FormatArg::BOOL: store.push_back(arg.getInteger() != 0); break;
    case KIT_FormatArg::CHAR: store.push_back(static_cast<char>(arg.getInteger())); break;
    case KIT_FormatArg::INTEGER: store.push_back(arg.getInteger()); break;
    case KIT_FormatArg::UNSIGNED: store.push_back(static_cast<uint64_t>(arg.getInteger())); break;
    case KIT_FormatArg::FLOAT: store.push_back(arg.getFloat()); break;
    case KIT_FormatArg::TEXT: store.push_back(arg.getText()); break;
    case KIT_FormatArg::POINTER: store.push_back(arg.getPointer()); break;
    }
}

void collect(Store &store, const KIT_FormatArg *args, size_t count)
{
    store.reserve(count, 0);
    for (size_t i = 0; i < count; i++) {
        collect(store, args[i]);
    }
}
} // namespace

size_t KITvformat(char *buffer, size_t size, const char *format, const KIT_FormatArg *args,
                  size_t count)
{
    const size_t room = buffer && size ? size - 1 : 0;
    size_t length = 0;
    try {
        Store store;
        collect(store, args, count);
        length = fmt::vformat_to_n(buffer, room, format ? format : "", store).size;
    } catch (...) {
        length = 0;
    }
    if (buffer && size) {
        buffer[std::min(length, room)] = '\0';
    }
    return length;
}

void KITvformatAppend(KIT_WorkBuffer &out, const char *format, const KIT_FormatArg *args,
                      size_t count)
{
    try {
        Store store;
        collect(store, args, count);
        fmt::memory_buffer made;
        fmt::vformat_to(fmt::appender(made), format ? format : "", store);
        out.append(made.data(), made.size());
    } catch (...) {
    }
}
