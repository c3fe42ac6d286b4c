#include <DS/DS_Creator.h>

#include <DS/DS_HandleBinding.h>
#include <DS/DS_ParmInfo.h>
#include <DS/DS_ParmReader.h>
#include <DS/DS_SelectorBinding.h>
#include <DS/writer/DS_CreatorPrivate.h>

#include <algorithm>
#include <ctime>
#include <ostream>
#include <string>
#include <string_view>

namespace
{

/// A text that can't end the comment that contains it.
std::string commentText(const char *text)
{
    std::string safe = text ? text : "";
    for (size_t at = 0; (at = safe.find("*/", at)) != std::string::npos; at += 3) {
        safe.insert(at + 1, " ");
    }
    return safe;
}

/// The same in one line.
std::string lineText(const char *text)
{
    std::string line = commentText(text);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return line;
}

/// Calls for each line; a line feed at the end doesn't start another line.
template <class Call>
void forEachLine(const char *text, Call call)
{
    std::string_view rest(text ? text : "");
    while (!rest.empty()) {
        const size_t end = rest.find('\n');
        call(std::string(rest.substr(0, end)).c_str());
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
}

KIT_StringArray splitPath(const char *path)
{
    KIT_StringArray names;
    std::string_view rest(path ? path : "");
    while (!rest.empty()) {
        const size_t end = rest.find('/');
        const std::string_view name = rest.substr(0, end);
        if (!name.empty()) {
            names.append(name.data(), name.size());
        }
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
    return names;
}

} // namespace

KIT_StringArray DS_Creator::theGroupStack;
bool DS_Creator::theUseOldGroupingFlag = false;

// -------------------------------------------------------------------- //
// Life
// -------------------------------------------------------------------- //

DS_Creator::DS_Creator(DS_ParmReader &reader, const char *creator)
    : myReader(reader), myCreatorName(creator ? creator : "DScreator", true)
{}

DS_Creator::DS_Creator(const DS_Creator &other)
    : myReader(other.myReader), myCreatorName(other.myCreatorName),
      myParmOverride(other.myParmOverride), myStamp(other.myStamp)
{}

DS_Creator::~DS_Creator()
{
    endOutput();
}

void DS_Creator::endOutput()
{
    if (myOutput) {
        writeTrailer(myCreatorName, myReader.getDialogScript());
    }
}

// -------------------------------------------------------------------- //
// Hooks for derived classes
// -------------------------------------------------------------------- //

void DS_Creator::writeContextSpecific() {}

int DS_Creator::writeInfo()
{
    return 1;
}

void DS_Creator::writeHeader(const char *creator, const char *source)
{
    if (!myOutput) {
        return;
    }
    const std::time_t now = std::time(nullptr);
    const char *const clock = std::ctime(&now);
    const std::string text = myStamp ? lineText(myStamp) + "\n" : clock ? clock : "\n";
    *myOutput << "/*\n"
              << " * Velmora Dialog Script generated automatically\n"
              << " * by " << commentText(creator) << " from source file " << commentText(source)
              << "\n"
              << " * Generated: " << text << " */\n\n";
}

void DS_Creator::writeTrailer(const char *, const char *) {}

// -------------------------------------------------------------------- //
// Writing
// -------------------------------------------------------------------- //

int DS_Creator::openOutput(std::ostream &os)
{
    endOutput();
    myOutput = &os;
    return 1;
}

int DS_Creator::closeOutput()
{
    endOutput();
    myOutput = nullptr;
    return 1;
}

int DS_Creator::prepareToWriteOutput()
{
    myReader.prepareParms();
    return 1;
}

int DS_Creator::writeOutput()
{
    if (!myOutput) {
        return 1;
    }
    std::ostream &os = *myOutput;
    writeHeader(myCreatorName, myReader.getDialogScript());
    os << "{\n";
    writeMetaInfo(os);
    if (myParmOverride.isstring()) {
        os << myParmOverride.c_str();
    } else {
        writeParms(os);
    }
    os << "}\n";
    return 1;
}

void DS_Creator::writeMetaInfo(std::ostream &os)
{
    os << "    name\t\"" << DSprotect(myReader.getDialogName()) << "\"\n";
    os << "    script\t\"" << DSprotect(myReader.getDialogScript()) << "\"\n";
    os << "    label\t\"" << DSprotect(myReader.getDialogLabel()) << "\"\n";
    writeContextSpecific();
    os << "\n";
    printHelp(os);
    if (writeInfo()) {
        printInfo(os);
    }
    writeUnboundSelectors(os);
    writeReservedSelectors(os);
    writeHandles(os, "bindhandlereserved", true);
    writeHandles(os, "bindhandle", false);
    os << "\n";
    writeInputLabels(os);
}

void DS_Creator::printHelp(std::ostream &os)
{
    const char *const help = myReader.getHelpText();
    os << "    help {\n";
    if (!help || !*help) {
        os << "\t  \"\"\n";
    }
    forEachLine(help, [&os](const char *line) { os << "\t\"" << DSprotect(line) << "\"\n"; });
    os << "    }\n";
}

void DS_Creator::printInfo(std::ostream &os)
{
    forEachLine(myReader.getInfoText(),
                [&os](const char *line) { os << "    info\t\"" << DSprotect(line) << "\"\n"; });
}

void DS_Creator::writeUnboundSelectors(std::ostream &os)
{
    if (!myReader.getUnboundSelectors().isEmpty()) {
        os << "\n";
    }
    for (const DS_SelectorBinding *selector : myReader.getUnboundSelectors()) {
        os << "    bindselector\t" << selector->getType();
        os << " \"" << DSprotect(selector->getDesc()) << "\"\n";
        os << "\t\"" << DSprotect(selector->getPrompt()) << "\"\n";
        os << "\t\"" << DSprotect(selector->getPrimMask(), 1) << "\" " << selector->getInputIndex();
        os << " \"" << DSprotect(selector->getMenu()) << "\" " << selector->getInputRequired();
        os << "\n";
    }
}

void DS_Creator::writeReservedSelectors(std::ostream &os)
{
    if (!myReader.getReservedSelectors().isEmpty()) {
        os << "\n";
    }
    for (const DS_SelectorBinding *selector : myReader.getReservedSelectors()) {
        os << "    bindselectorreserved\t" << selector->getParmName() << " " << selector->getType();
        os << " \"" << DSprotect(selector->getDesc()) << "\"\n";
        os << "\t\"" << DSprotect(selector->getPrompt()) << "\"\n";
        os << "\t" << selector->getAsterisk() << " " << selector->getDragging();
        os << " \"" << DSprotect(selector->getPrimMask(), 1) << "\" " << selector->getInputIndex();
        os << " \"" << DSprotect(selector->getMenu()) << "\" " << selector->getInputRequired();
        os << "\n";
    }
}

void DS_Creator::writeHandles(std::ostream &os, const char *keyword, bool reserved)
{
    const auto &handles = reserved ? myReader.getReservedHandles() : myReader.getBoundHandles();
    if (!handles.isEmpty()) {
        os << "\n";
    }
    for (const DS_HandleBinding *handle : handles) {
        os << "    " << keyword << "\t" << handle->getChannelName() << " " << handle->getType();
        os << " \"" << DSprotect(handle->getLabel()) << "\" " << handle->getDesc();
        os << " \"" << DSprotect(handle->getDefaultSettings()) << "\"\n";
    }
}

void DS_Creator::writeInputLabels(std::ostream &os)
{
    bool someFlag = false;
    for (int i = 0; i < myReader.getNumInputLabels(); i++) {
        const char *const label = myReader.getInputLabel(i);
        if (label && *label) {
            os << "    inputlabel\t" << i + 1 << "\t" << label << "\n";
            someFlag = true;
        }
    }
    if (someFlag) {
        os << "\n";
    }
}

// -------------------------------------------------------------------- //
// Parameters in their groups
// -------------------------------------------------------------------- //

void DS_Creator::writeParms(std::ostream &os)
{
    theGroupStack.clear();
    int groupCount = 0;
    int left = myReader.numParms();
    if (myReader.isDoingGroups() && !myReader.getGroups().isEmpty()) {
        left = writeGrouped(os, groupCount);
    }
    if (left != 0) {
        // After the old grouping the last group is still open, and parameters without a group are
        // written into it. Kept: users compare the texts of scripts.
        const int pageSize = static_cast<int>(myReader.getGroupSize());
        if (pageSize > 0 && left > pageSize) {
            writePages(os, groupCount);
        } else {
            for (int i = 0; i < myReader.numParms(); i++) {
                const DS_ParmInfo *const info = myReader.getParmInfo(i);
                if (info && info->group.isEmpty()) {
                    printParm(os, *info);
                }
            }
        }
    }
    startGroup(os, groupCount, nullptr);
}

/// Returns how many parameters are left.
int DS_Creator::writeGrouped(std::ostream &os, int &groupCount)
{
    if (!theUseOldGroupingFlag) {
        for (int i = 0; i < myReader.numParms(); i++) {
            if (const DS_ParmInfo *const info = myReader.getParmInfo(i)) {
                startGroup(os, groupCount, info->group);
                printParm(os, *info);
            }
        }
        return 0;
    }
    int left = myReader.numParms();
    for (const char *group : myReader.getGroups()) {
        startGroup(os, groupCount, group);
        for (int i = 0; i < myReader.numParms(); i++) {
            const DS_ParmInfo *const info = myReader.getParmInfo(i);
            if (info && info->group == group) {
                printParm(os, *info);
                left--;
            }
        }
    }
    return left;
}

void DS_Creator::writePages(std::ostream &os, int &groupCount)
{
    const int pageSize = static_cast<int>(myReader.getGroupSize());
    int page = static_cast<int>(myReader.getGroups().entries());
    int onPage = pageSize;
    for (int i = 0; i < myReader.numParms(); i++) {
        const DS_ParmInfo *const info = myReader.getParmInfo(i);
        if (!info || info->group.isstring()) {
            continue;
        }
        if (++onPage > pageSize) {
            startGroup(os, groupCount, ("Page " + std::to_string(page++)).c_str());
            onPage = 1;
        }
        printParm(os, *info);
    }
}

/// Closes the open groups that aren't on the path and opens the missing ones; null closes all.
void DS_Creator::startGroup(std::ostream &os, int &groupCount, const char *path)
{
    KIT_StringArray names = splitPath(path);
    const int64_t open = theGroupStack.entries();
    int64_t same = 0;
    while (same < open && same < names.entries() && theGroupStack[same] == names[same]) {
        same++;
    }
    for (int64_t i = open; i-- > same;) {
        os << getIndent(static_cast<int>(i))
           << "} // End of Group: " << theGroupStack[i].nonNullStr() << "\n\n";
    }
    for (int64_t i = same; i < names.entries(); i++) {
        const int level = static_cast<int>(i);
        os << getIndent(level) << "group {\n";
        // The name is generated. The label is written without quotes: one that isn't a plain word
        // is given in script form.
        os << getIndent(level + 1) << "name\tg" << groupCount++ << "\n";
        os << getIndent(level + 1) << "label\t" << names[i].nonNullStr() << "\n\n";
    }
    theGroupStack = std::move(names);
}

const char *DS_Creator::getIndent(int level)
{
    static std::string theIndent;
    static int theLevel = -1;
    if (level != theLevel) {
        const size_t steps = level < 0 ? 0 : static_cast<size_t>(level) + 1;
        theIndent.assign(steps / 2, '\t');
        theIndent.append(steps % 2 ? 4 : 0, ' ');
        theLevel = level;
    }
    return theIndent.c_str();
}
