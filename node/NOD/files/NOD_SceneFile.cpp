#include <NOD/NOD_SceneFile.h>

#include <BAS/BAS_Allocate.h>
#include <NOD/NOD_Batch.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_UndoStack.h>
#include <NOD/NOD_ValueFile.h>
#include <NOD/files/NOD_FilesPrivate.h>
#include <NOD/files/NOD_LinesPrivate.h>
#include <NOD/files/NOD_SectionNamesPrivate.h>
#include <NOD/files/NOD_TreeReaderPrivate.h>
#include <NOD/files/NOD_TreeWriterPrivate.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_ParmList.h>

#include <ostream>

namespace
{

std::string headOf(const NOD_Scene &scene)
{
    std::string head = "version " + std::string(theFileVersionText) + "\n";
    head += "framerate " + NODnumberText(scene.getFrameRate()) + "\n";
    head += "range " + NODnumberText(scene.getFirstFrame()) + " " +
            NODnumberText(scene.getLastFrame()) + "\n";
    head += "time " + NODnumberText(scene.getTime()) + "\n";
    for (const auto &[name, value] : scene.getRoot().getVariables()) {
        head += "variable " + NODquoted(name) + " " + NODquoted(value) + "\n";
    }
    return head;
}

/// False if the line isn't known, or has no value that can be.
bool readLine(NOD_Scene &scene, const std::vector<std::string> &words)
{
    double first = 0.0;
    double second = 0.0;
    const std::string &keyword = words[0];
    if (keyword == "variable" && words.size() == 3) {
        scene.getRoot().setVariable(words[1], words[2]);
        return true;
    }
    if (words.size() < 2 || !NODreadNumber(words[1], first)) {
        return false;
    }
    if (keyword == "framerate" && words.size() == 2) {
        return scene.setFrameRate(first);
    }
    if (keyword == "time" && words.size() == 2) {
        scene.setTime(first);
        return true;
    }
    return keyword == "range" && words.size() == 3 && NODreadNumber(words[2], second) &&
           scene.setFrameRange(first, second);
}

void readHead(NOD_Scene &scene, NOD_TreeReader &reader, const NOD_TreeReader::Section &section)
{
    for (const NOD_Line &line : NODreadLines(section.text)) {
        if (line.words[0] == "version") {
            reader.checkVersion(section, line);
        } else if (!readLine(scene, line.words)) {
            reader.error(section, line.number + 1,
                         "\"" + line.words[0] +
                             "\" isn't known here, or has a value that can't be");
        }
    }
}

bool loadBytes(NOD_Scene &scene, std::string bytes, const std::string &name,
               const NOD_LoadOptions &options, NOD_Report &report)
{
    constexpr std::size_t theLookedAt = 4096;
    const std::string start = bytes.substr(0, theLookedAt);
    NOD_SectionFile file;
    NOD_Report found;
    if (!file.read(std::move(bytes), name, found)) {
        if (!NOD_ValueFile::isOther(start, name, NOD_FileKind::SCENE, report)) {
            report.append(found);
        }
        return false;
    }
    report.append(found);
    NOD_TreeReader reader(scene, file, name, options, report);
    const NOD_TreeReader::Section *const head = reader.use(theSceneSection);
    if (!head && NOD_ValueFile::isOther(start, name, NOD_FileKind::SCENE, report)) {
        return false;
    }
    if (!head) {
        report.add({KIT_ERROR_ABORT,
                    name,
                    0,
                    theSceneSection,
                    "isn't there: this is no file of a scene",
                    {},
                    0});
        return false;
    }
    const ZEL_InputBudget budget(file.getLength());
    const NOD_UndoStack::Pause pause(scene.getUndo());
    const NOD_Batch batch(scene);
    scene.clear();
    readHead(scene, reader, *head);
    const std::map<std::string, std::string> variables = scene.getRoot().getVariables();
    reader.readInterfaces();
    constexpr bool isPart = false;
    reader.readNodes(scene.getRoot(), isPart);
    for (const auto &[variable, value] : variables) {
        scene.getRoot().setVariable(variable, value);
    }
    reader.readRest();
    return true;
}

} // namespace

// ---------------------------------------------------------------------- //
// Out
// ---------------------------------------------------------------------- //

bool NOD_SceneFile::save(NOD_Scene &scene, std::ostream &os, const NOD_SaveOptions &options,
                         NOD_Report &report)
{
    if (!NOD_TreeWriter::isReadable(scene.getRoot(), report)) {
        return false;
    }
    return NODwriteTo(os, "scene", report, [&] {
        NOD_TreeWriter writer(scene, os, options, report);
        writer.writeHead(theSceneSection, headOf(scene));
        writer.writeTree(scene.getRoot());
        writer.end();
    });
}

bool NOD_SceneFile::save(NOD_Scene &scene, const std::string &path, const NOD_SaveOptions &options,
                         NOD_Report &report)
{
    return NODwriteFile(path, options, report,
                        [&](std::ostream &os, const NOD_SaveOptions &placed) {
                            return save(scene, os, placed, report);
                        });
}

// ---------------------------------------------------------------------- //
// In
// ---------------------------------------------------------------------- //

bool NOD_SceneFile::load(NOD_Scene &scene, const std::string &path, const NOD_LoadOptions &options,
                         NOD_Report &report)
{
    std::string bytes;
    return NODreadFile(path, bytes, report, NOD_SectionFile::canBeOne) &&
           loadBytes(scene, std::move(bytes), path, NODplaced(options, path), report);
}

bool NOD_SceneFile::load(NOD_Scene &scene, std::istream &is, const std::string &name,
                         const NOD_LoadOptions &options, NOD_Report &report)
{
    std::string bytes;
    return NODreadStream(is, name, bytes, report) &&
           loadBytes(scene, std::move(bytes), name, options, report);
}
