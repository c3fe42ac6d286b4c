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
#include <string>

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
        std::size_t paths = 0;
        TRK_NodePaths::forEach(rewritten, form, &collection, [&](std::string &path) {
            path.append(++paths % 2 ? "'\"\\" : "$a`\xff");
            return true;
        });
    }
    EVL::theErrNo[thread] = 0;
    return 0;
}
