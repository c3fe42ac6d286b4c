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
        script = ZELT_Script::load(ZEL_TESTS_DIR "/../examples/light.ds", messages);
        if (!script) {
            return !messages.hasErrors();
        }
        list = std::make_unique<ZEL_ParmList>(script->getTemplates(), nullptr, nullptr, nullptr, "",
                                              false);
        return !messages.hasErrors();
    }
    std::string text(Texts texts)
    {
        return (script ? script->getName() : "") + " " + (list ? textOf(*list, texts) : "");
    }
    std::unique_ptr<ZELT_Script> script;
    std::unique_ptr<ZEL_ParmList> list;
};
REFUSE_EACH(ReadingForTheTool)

} // namespace
