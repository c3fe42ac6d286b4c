#include <NOD/NOD_ScriptRewrite.h>

#include <DS/DS_Creator.h>
#include <DS/DS_ScriptReader.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_InterfaceDifference.h>

#include <memory>
#include <set>
#include <sstream>
#include <utility>

namespace
{

std::string written(DS_ScriptReader &reader, const NOD_RewriteOptions &options)
{
    std::ostringstream os;
    DS_Creator creator(reader, options.creator.c_str());
    creator.setStamp(options.stamp.empty() ? nullptr : options.stamp.c_str());
    creator.prepareToWriteOutput();
    creator.openOutput(os);
    creator.writeOutput();
    creator.closeOutput();
    return os.str();
}

/// By what the writer says itself, and by what its script is read back as.
void findLosses(const DS_ScriptReader &reader, const NOD_Interface *before, const std::string &file,
                NOD_RewrittenScript &script)
{
    std::set<std::string> told;
    for (const KIT_String &loss : reader.getLosses()) {
        const std::string text = loss.toStdString();
        told.insert(text.substr(0, text.rfind(": ")));
        script.losses.add(
            {KIT_ERROR_ABORT, file, 0, "", text, theKITCommonCategory, KIT_COMMON_BAD_SCRIPT});
    }
    const auto after = NOD_Interface::fromText(script.text, file, script.losses);
    NOD_Report differences;
    if (before && after) {
        NODcompareInterfaces(*before, *after, differences);
    }
    for (NOD_Message message : differences.getMessages()) {
        if (told.count(message.subject) == 0) {
            message.file = file;
            script.losses.add(std::move(message));
        }
    }
}

} // namespace

std::optional<NOD_RewrittenScript>
NODrewriteScriptFile(const std::string &file, const NOD_RewriteOptions &options, NOD_Report &report)
{
    DS_ScriptReader reader(file.c_str());
    if (!NOD_Interface::parseFile(file, reader.getPage(), report)) {
        return std::nullopt;
    }
    NOD_RewrittenScript script;
    script.text = written(reader, options);
    const auto before = NOD_Interface::fromFile(file, script.losses);
    findLosses(reader, before.get(), file, script);
    return script;
}

std::optional<NOD_RewrittenScript> NODrewriteScript(const std::string &text,
                                                    const std::string &name,
                                                    const NOD_RewriteOptions &options,
                                                    NOD_Report &report)
{
    DS_ScriptReader reader(name.c_str());
    KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
    if (!NOD_Interface::parse(is, name, reader.getPage(), report)) {
        return std::nullopt;
    }
    NOD_RewrittenScript script;
    script.text = written(reader, options);
    const auto before = NOD_Interface::fromText(text, name, script.losses);
    findLosses(reader, before.get(), name, script);
    return script;
}
