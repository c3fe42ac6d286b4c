// The same for the tool's reading of a script.

#include "Refusal.h"

#include <ZELT_Messages.h>
#include <ZELT_Script.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace
{

struct ReadingForTheTool
{
    bool run()
    {
        list.reset();
        script.reset();
        ZELT_Messages messages;
        script = ZELTloadScript(ZEL_TESTS_DIR "/../examples/light.ds", messages);
        if (!script) {
            return !messages.hasErrors();
        }
        list = std::make_unique<ZEL_ParmList>(script->getTemplates(), nullptr, nullptr, nullptr, "",
                                              false);
        return !messages.hasErrors();
    }
    std::string text(Texts texts)
    {
        return (script ? script->getTypeName() : "") + " " + (list ? textOf(*list, texts) : "");
    }
    ZELT_ScriptPtr script;
    std::unique_ptr<ZEL_ParmList> list;
};
REFUSE_EACH(ReadingForTheTool)

} // namespace
