#include <NOD/NOD_MigrationMap.h>

#include <KIT/KIT_Digits.h>
#include <KIT/KIT_IFStream.h>
#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/migration/NOD_MigrationMapReaderPrivate.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <utility>

namespace
{

std::string inQuotes(std::string_view text)
{
    KIT_WorkBuffer buffer;
    buffer.appendQuoted(text);
    return std::string(buffer.view());
}

std::string testText(const NOD_MigrationTest &test)
{
    std::string text = "\ttest " + inQuotes(test.name);
    text += (test.from.empty() ? "" : " from " + test.from) + "\n";
    for (const NOD_MigrationTest::Line &line : test.lines) {
        const bool timeFlag = line.kind == NOD_MigrationTest::Kind::KEY ||
                              line.kind == NOD_MigrationTest::Kind::EXPECT;
        std::string address = line.address;
        address += timeFlag ? std::string("@") + KIT_Digits(line.time).buffer() : "";
        text += std::string("\t\t") + NOD_MigrationTest::getKindWord(line.kind) + " " +
                inQuotes(address) + " " + inQuotes(line.value) + "\n";
    }
    return text + "\tend\n";
}

} // namespace

// ---------------------------------------------------------------------- //
// In and out
// ---------------------------------------------------------------------- //

bool NOD_MigrationMap::read(const std::string &path, NOD_Report &report)
{
    *this = NOD_MigrationMap();
    errno = 0;
    KIT_IFStream is(path.c_str());
    if (!is.isReadable()) {
        const int number = errno;
        report.add({KIT_ERROR_ABORT,
                    path,
                    0,
                    {},
                    std::string("can't be read: ") +
                        (number ? std::strerror(number) : "the reason is not known"),
                    {},
                    0});
        return false;
    }
    return read(is.rest(), path, report);
}

bool NOD_MigrationMap::read(std::string_view text, const std::string &name, NOD_Report &report)
{
    *this = NOD_MigrationMap();
    myName = name;
    const int before = report.getErrorCount();
    if (text.size() > theMostBytes) {
        tell(0, "", "has more than " + std::to_string(theMostBytes) + " bytes", report);
    } else {
        myText = text;
        NOD_MigrationMapReader(*this, myText, report).read();
    }
    if (report.getErrorCount() != before) {
        *this = NOD_MigrationMap();
        return false;
    }
    return true;
}

std::string NOD_MigrationMap::asText() const
{
    std::string text;
    if (myPlainFlag) {
        for (const NOD_MigrationStep &step : myVersions[1].steps) {
            // Behind the word of its kind.
            text += step.asText().substr(std::strlen("rename ")) + "\n";
        }
        return text;
    }
    text = "migration 1.0\n";
    text += myType.empty() ? "" : "type " + inQuotes(myType) + "\n";
    text += myUnmarked.empty() ? "" : "unmarked " + myUnmarked + "\n";
    for (const NOD_MigrationVersion &version : myVersions) {
        text += "\nversion " + version.name;
        text += (version.script.empty() ? "" : " " + inQuotes(version.script)) + "\n";
        for (const NOD_MigrationStep &step : version.steps) {
            text += "\t" + step.asText() + "\n";
        }
        for (const NOD_MigrationTest &test : version.tests) {
            text += testText(test);
        }
    }
    return text;
}

// ---------------------------------------------------------------------- //
// Versions and scripts
// ---------------------------------------------------------------------- //

int NOD_MigrationMap::findVersion(const std::string &name) const
{
    for (std::size_t i = 0; i < myVersions.size(); ++i) {
        if (myVersions[i].name == name && !myPlainFlag) {
            return int(i);
        }
    }
    return -1;
}

std::string NOD_MigrationMap::getVersionNames() const
{
    std::string names;
    for (const NOD_MigrationVersion &version : myVersions) {
        names += (names.empty() ? "" : ", ") + version.name;
    }
    return names;
}

bool NOD_MigrationMap::loadScripts(NOD_Report &report)
{
    const int before = report.getErrorCount();
    const std::filesystem::path folder = std::filesystem::path(myName).parent_path();
    for (NOD_MigrationVersion &version : myVersions) {
        if (version.interface) {
            continue;
        }
        if (version.script.empty()) {
            tell(version.line, version.name, "the version has no script", report);
        } else {
            version.interface = NOD_Interface::fromFile((folder / version.script).string(), report);
        }
        if (!version.interface && report.getErrorCount() == before) {
            tell(version.line, version.name, "there is no interface in " + version.script, report);
        }
    }
    return report.getErrorCount() == before;
}

void NOD_MigrationMap::setInterface(int version, std::shared_ptr<const NOD_Interface> interface)
{
    myVersions[std::size_t(version)].interface = std::move(interface);
}

void NOD_MigrationMap::addRenames(NOD_Node &node) const
{
    std::vector<std::pair<std::string, std::string>> names;
    for (const NOD_MigrationVersion &version : myVersions) {
        // All steps of a version hold at once, by the names of the version before.
        std::map<std::string, std::string> renames;
        for (const NOD_MigrationStep &step : version.steps) {
            if (step.kind == NOD_MigrationStep::Kind::RENAME) {
                renames.emplace(step.sources[0], step.targets[0]);
            }
        }
        for (auto &[former, present] : names) {
            const auto next = renames.find(present);
            present = next == renames.end() ? present : next->second;
        }
        names.insert(names.end(), renames.begin(), renames.end());
    }
    // What the oldest version meant by a name comes last, and counts.
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        if (name->first != name->second) {
            node.addRename(name->first, name->second);
        }
    }
}

void NOD_MigrationMap::tell(int line, const std::string &subject, const std::string &text,
                            NOD_Report &report, KIT_ErrorSeverity severity) const
{
    NOD_Message message;
    message.severity = severity;
    message.file = myName;
    message.line = line;
    message.subject = subject;
    message.text = text;
    std::size_t begin = 0;
    for (int at = 1; at < line && begin != std::string::npos; ++at) {
        begin = myText.find('\n', begin);
        begin += begin == std::string::npos ? 0 : 1;
    }
    if (line > 0 && begin < myText.size()) {
        begin = std::min(myText.find_first_not_of(" \t", begin), myText.size());
        auto detail = std::make_shared<KIT_MessageDetail>();
        detail->place.file = myName;
        detail->place.setFromText(myText, begin, std::min(myText.find('\n', begin), myText.size()),
                                  line);
        detail->subject = subject;
        message.detail = std::move(detail);
    }
    report.add(std::move(message));
}
