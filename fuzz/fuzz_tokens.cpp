// Fuzzes the token source of scripts: directives, macros and tokens of any text, and blocks.

#include "FuzzMemory.h"

#include <DS/DS_Stream.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace
{

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

/// Reads all tokens, lines never going back; they are written one a line in double quotes.
std::string rewritten(const char *data, size_t size)
{
    const int lines = 1 + static_cast<int>(std::count(data, data + size, '\n'));
    KIT_IStream memory(data, size, KIT_IStream::TEXT);
    DS_Stream stream(memory, "fuzz", true);
    std::string text;
    KIT_String token;
    int line = 0;
    while (stream.TOK_TokenStream::getToken(token)) {
        require(stream.getManager()->getLineNumber() >= std::max(line, 1));
        line = stream.getManager()->getLineNumber();
        require(line <= lines);
        if (text.size() < (size_t{1} << 20)) {
            KIT_WorkBuffer quoted;
            quoted.appendQuoted(token.view());
            text.append(quoted.buffer(), quoted.length()).append("\n");
        }
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const FuzzMemory oracle(size);
    KIT_ErrorManager::Scope scope(1);
    const char *const text = reinterpret_cast<const char *>(data);
    const std::string tokens = rewritten(text, size);
    scope.getManager().clearAndDestroyErrors();

    // What was written in quotes gives the same tokens again, and no message.
    KIT_IStream again(tokens.data(), tokens.size(), KIT_IStream::TEXT);
    DS_Stream resolved(again, nullptr, true);
    std::string twice;
    KIT_String token;
    while (resolved.getToken(token)) {
        KIT_WorkBuffer quoted;
        quoted.appendQuoted(token.view());
        twice.append(quoted.buffer(), quoted.length()).append("\n");
    }
    require(twice == tokens);
    require(scope.getManager().entries() == 0);

    KIT_IStream memory(text, size, KIT_IStream::TEXT);
    DS_Stream stream(memory, nullptr, true);
    KIT_String block;
    while (stream.parseBlock(block, '\n', size % 2 != 0)) {
        require(block.lastChar() == '\n');
    }
    return 0;
}
