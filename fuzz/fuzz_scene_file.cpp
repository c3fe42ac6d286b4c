// A scene file, or with bit 0 of the first byte a node file, in either form, with interfaces of the file and
// of the application. Bit 1 reads no scripts. What was read is saved and read again: to the same bytes in
// each form, if it is read without a message.

#include "FuzzLimits.h"
#include "FuzzMemory.h"

#include <KIT/KIT_Error.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_NodeFile.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_SceneFile.h>
#include <SNK/SNK_Python.h>

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

namespace
{

constexpr const char *theScript = R"({ name lamp
  parm { name t type vector size 3 }
  parm { name note type string }
  parm { name kind type ordinal menu { "a" "A" "b" "B" } }
  multiparm { name points default "1" parm { name w# type float } }
})";

void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

std::string save(NOD_Scene &scene, NOD_SaveOptions::Form form)
{
    NOD_SaveOptions options;
    options.form = form;
    NOD_Report report;
    std::ostringstream os;
    require(NOD_SceneFile::save(scene, os, options, report));
    return os.str();
}

bool load(NOD_Scene &scene, const std::string &bytes, const NOD_LoadOptions &options,
          NOD_Report &report)
{
    std::istringstream is(bytes);
    return NOD_SceneFile::load(scene, is, "fuzz", options, report);
}

void addLamp(NOD_Scene &scene)
{
    NOD_Report report;
    scene.addInterface(NOD_Interface::fromText(theScript, "lamp", report));
    require(report.isEmpty());
}

/// A save is read, and where nothing is told, to the same bytes.
void checkSaved(NOD_Scene &scene, const NOD_LoadOptions &options)
{
    for (const auto form : {NOD_SaveOptions::Form::TEXT, NOD_SaveOptions::Form::BINARY}) {
        const std::string bytes = save(scene, form);
        NOD_Scene again;
        addLamp(again);
        NOD_Report report;
        require(load(again, bytes, options, report));
        require(!report.isEmpty() || save(again, form) == bytes);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const FuzzMemory oracle(size);
    if (size == 0) {
        return 0;
    }
    setFuzzLimits(100, 8);
    SNKsetPythonEnabled(false);
    const std::string bytes(reinterpret_cast<const char *>(data) + 1, size - 1);
    NOD_LoadOptions options;
    options.scripts =
        data[0] & 2 ? NOD_LoadOptions::Scripts::NONE : NOD_LoadOptions::Scripts::IN_FOLDER;
    options.folder = "/nowhere";
    NOD_Scene scene;
    addLamp(scene);
    NOD_Report report;
    if (data[0] & 1) {
        std::istringstream is(bytes);
        NOD_NodeFile::load(scene, scene.getRoot(), is, "fuzz", options, report);
    } else if (!load(scene, bytes, options, report)) {
        require(report.hasErrors());
    }
    checkSaved(scene, options);
    KITgetErrorManager().clearAndDestroyErrors();
    return 0;
}
