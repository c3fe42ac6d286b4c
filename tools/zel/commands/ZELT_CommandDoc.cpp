#include "ZELT_CommandLine.h"
#include "ZELT_File.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Progress.h"
#include "ZELT_Script.h"
#include "ZELT_Session.h"

#include <NOD/NOD_Documentation.h>
#include <NOD/NOD_Report.h>

#include <filesystem>
#include <map>
#include <optional>
#include <system_error>

namespace
{

struct Call
{
    std::vector<std::string> files;
    std::string folder;
};

bool makeFolder(const std::string &folder, ZELT_Messages &messages)
{
    std::error_code fault;
    std::filesystem::create_directories(folder, fault);
    if (fault) {
        messages.error(folder, "can't be made: " + fault.message());
    }
    return !fault;
}

/// Writes the pages of scripts, and keeps which they are.
class Writer
{
public:
    Writer(const std::string &folder, ZELT_Messages &messages)
        : myFolder(folder), myMessages(messages)
    {}

    /// Of a scene the interfaces of all nodes, each once.
    bool write(const std::string &file)
    {
        const std::vector<ZELT_NodeInterface> all = ZELT_Session::openInterfaces(file, myMessages);
        bool good = !all.empty();
        for (std::size_t i = 0; i < all.size(); ++i) {
            good = (all[i].first != i || write(*all[i].script, all[i].name)) && good;
        }
        return good;
    }

    void print(bool jsonFlag) const
    {
        ZELT_Json json = ZELT_Json::array();
        for (const auto &[file, path] : myWritten) {
            if (jsonFlag) {
                json.push_back(ZELT_Json{{"file", file}, {"page", path}});
            } else {
                std::cout << path << '\n';
            }
        }
        if (jsonFlag) {
            ZELTprintJson(json);
        }
    }

private:
    bool write(const NOD_Interface &script, const std::string &file)
    {
        const std::string name = NODpageName(script);
        const auto [other, freshFlag] = myNames.emplace(name, file);
        if (!freshFlag) {
            myMessages.error(file, "has the pages of " + other->second + ": both are " + name);
            return false;
        }
        NOD_Report report;
        const std::vector<NOD_Page> pages = NODdocument(script, report);
        myMessages.add(report);
        if (!myFolderFlag) {
            myFolderFlag = makeFolder(myFolder, myMessages);
        }
        if (!*myFolderFlag) {
            return false;
        }
        bool good = !report.hasErrors();
        for (const NOD_Page &page : pages) {
            const std::string path = (std::filesystem::path(myFolder) / page.name).string();
            const bool written = ZELTwriteFile(path, page.bytes, myMessages);
            good = good && written;
            if (written) {
                myWritten.push_back({file, path});
            }
        }
        return good;
    }

    const std::string &myFolder;
    std::optional<bool>
        myFolderFlag; ///< whether it could be made; there is none before the first page
    ZELT_Messages &myMessages;
    std::map<std::string, std::string> myNames; ///< of pages, with the script's file
    std::vector<std::pair<std::string, std::string>> myWritten;
};

int document(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    ZELT_Progress progress("documenting", std::int64_t(call.files.size()));
    Writer writer(call.folder, messages);
    bool good = true;
    for (const std::string &file : call.files) {
        good = writer.write(file) && good;
        progress.advance();
    }
    writer.print(options.json);
    return good ? 0 : 1;
}

} // namespace

void ZELTaddDoc(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("doc", "Write pages that document the interfaces of scripts",
                 "zel doc examples/light.ds examples/shader.ds -o pages", document);
    command.addOption("FILE", call.files, "Dialog scripts, or node and scene files").required();
    command.addOption("-o,--out", call.folder, "The folder of the pages, made if there is none")
        .required();
}
