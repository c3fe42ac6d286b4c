#include <NOD/NOD_ScriptMap.h>

#include <KIT/KIT_String.h>
#include <NOD/NOD_Report.h>
#include <NOD/files/NOD_FilesPrivate.h>
#include <NOD/files/NOD_LinesPrivate.h>

#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace
{

constexpr const char *theMapName = ".zelscripts";

/// "" if no line fits. `isRead` is false after an error.
std::string scriptOf(const fs::path &map, const std::string &file, bool &isRead, NOD_Report &report)
{
    std::string text;
    std::string script;
    isRead = NODreadFile(map.string(), text, report, [](std::string_view) { return true; });
    for (const NOD_Line &line : NODreadLines(text)) {
        if (line.words.size() != 2) {
            report.add({KIT_ERROR_ABORT,
                        map.string(),
                        line.number + 1,
                        {},
                        "expected a pattern of files and a dialog script",
                        {},
                        0});
            isRead = false;
            return {};
        }
        if (KIT_String::matchPattern(file.c_str(), line.words[0].c_str())) {
            script = line.words[1];
        }
    }
    return script.empty() ? script : (map.parent_path() / script).lexically_normal().string();
}

} // namespace

std::string NODfindScript(const std::string &file, NOD_Report &report)
{
    std::error_code ignored;
    const fs::path path = fs::absolute(file, ignored).lexically_normal();
    for (fs::path folder = path.parent_path(); !folder.empty(); folder = folder.parent_path()) {
        const fs::path map = folder / theMapName;
        bool readFlag = true;
        const std::string script =
            fs::is_regular_file(map, ignored)
                ? scriptOf(map, path.lexically_relative(folder).generic_string(), readFlag, report)
                : std::string();
        if (!script.empty() || !readFlag) {
            return script;
        }
        if (folder == folder.root_path()) {
            break;
        }
    }
    return {};
}
