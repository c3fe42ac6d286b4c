// A migration map. What is read is written and read again to the same, undone twice to steps of as many names,
// checked against scripts that every version has, and its tests are run; else there is a message.

#include "FuzzMemory.h"

#include <KIT/KIT_Error.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_MigrationCheck.h>
#include <NOD/NOD_MigrationMap.h>
#include <NOD/NOD_Report.h>
#include <SNK/SNK_Python.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace
{

constexpr const char *theScript = R"({ name rig
  parm { name a type float }
  parm { name b type int }
  parm { name t type vector size 3 }
  parm { name x type float } parm { name y type float } parm { name z type float }
  parm { name s type string }
  parm { name k type ordinal menu { "p" "P" "q" "Q" } }
  parm { name on type toggle }
  multiparm { name m default "1" parm { name w# type float } parm { name v# type float } }
})";

void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

void undo(const NOD_MigrationMap &map)
{
    for (const NOD_MigrationVersion &version : map.getVersions()) {
        std::vector<std::size_t> faults;
        const auto back = NODundoSteps(version.steps, faults);
        for (const std::size_t fault : faults) {
            require(fault < version.steps.size());
        }
        std::vector<std::size_t> others;
        NODundoSteps(back, others);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const FuzzMemory memory(size);
    SNKsetPythonEnabled(false);
    NOD_MigrationMap map;
    NOD_Report report;
    const bool good =
        map.read(std::string_view(reinterpret_cast<const char *>(data), size), "fuzz", report);
    require(good != report.hasErrors());
    if (good) {
        const std::string text = map.asText();
        NOD_MigrationMap again;
        require(again.read(std::string_view(text), "fuzz", report) && again.asText() == text);
        undo(map);
        static const auto theInterface = NOD_Interface::fromText(theScript, "rig", report);
        for (int i = 0; i <= map.getLast() && !map.isPlain(); ++i) {
            map.setInterface(i, theInterface);
        }
        if (!map.isPlain()) {
            const int holes = NODcheckMigration(map, report);
            require(holes == report.getErrorCount());
            NODrunMigrationTests(map, report);
        }
    }
    KITgetErrorManager().clearAndDestroyErrors();
    return 0;
}
