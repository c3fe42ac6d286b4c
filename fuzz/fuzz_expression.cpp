// Fuzzes the expression language: compile any text, evaluate it as number and as text among
// channels that refer to each other, and expand it as a literal.

#include "FuzzMemory.h"

#include <EVL/EVL.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Expression.h>
#include <TRK/TRK_Manager.h>
#include <TRK/TRK_NodePaths.h>

#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const FuzzMemory oracle(size);
    const std::string text(reinterpret_cast<const char *>(data), size);
    TRK_Collection collection;
    for (const char *name : {"tx", "ty"}) {
        TRK_Channel *channel = collection.addChannel(name);
        channel->initializeFirstSegment(text.c_str(), TRK_LANGUAGE_NATIVE);
        channel->setKeyValue(1.0, 1.0, false, true, false);
    }
    constexpr int thread = 1;
    EVL::theErrNo[thread] = 0;
    collection.evaluate(collection.getChannel("tx"), 0.5, false, thread);
    KIT_String out;
    const bool goodFlag = collection.evaluateString(out, collection.getChannel("ty"), 0.5, thread);
    if (!goodFlag && (!out.isEmpty() || EVL::theErrNo[thread] == 0)) {
        std::abort(); // a failure gives the empty text and a number
    }
    EVL::theErrNo[thread] = 0;
    TRK_Manager &manager = TRK_Manager::getContext();
    manager.expandString(text.c_str(), out, 0.5, &collection, thread);
    manager.buildStringOpDependencies(text.c_str(),
                                      [](const KIT_StringRef &, const KIT_StringRef &) {});
    KIT_String changed(text.c_str(), true);
    manager.changeStringOpRef(changed, "/a", "/b");
    using Form = TRK_NodePaths::Form;
    for (const Form form :
         {Form::TEXT, Form::NATIVE, Form::PYTHON, Form::NATIVE_TEXT, Form::PYTHON_TEXT}) {
        std::string rewritten = text;
        std::vector<std::string> written;
        std::vector<std::string> read;
        const auto write = [&](std::string &path) {
            constexpr const char *paths[] = {"/x'\"", "/\\", "/$F{", "/`\xff"};
            written.push_back(path = paths[written.size() % std::size(paths)]);
            return true;
        };
        const auto take = [&](const std::string &path) {
            read.push_back(path);
            return true;
        };
        const int refused = TRK_NodePaths::forEach(rewritten, form, &collection, write).refused;
        TRK_NodePaths::forEach(rewritten, form, &collection, take);
        if (refused == 0 && read != written) {
            std::abort(); // what is written is read again
        }
    }
    EVL::theErrNo[thread] = 0;
    return 0;
}
