#include <NOD/NOD_Documentation.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_Ramp.h>
#include <NOD/NOD_Description.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_RampPicture.h>
#include <NOD/NOD_Report.h>
#include <NOD/describe/NOD_PageWriterPrivate.h>
#include <NOD/text/NOD_NumberTextPrivate.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_RampUtils.h>

#include <algorithm>
#include <cstdint>
#include <optional>

namespace
{

using Parm = NOD_DescribedParm;
using Names = std::map<std::string, const Parm *>;

// ---------------------------------------------------------------------- //
// Words
// ---------------------------------------------------------------------- //

struct Meaning
{
    const char *word;
    const char *meaning;
};

constexpr Meaning theMeanings[] = {
    {"int", "A whole number"},
    {"float", "A number"},
    {"angle", "An angle in degrees"},
    {"string", "A text"},
    {"file", "A file"},
    {"directory", "A folder of files"},
    {"image", "An image file"},
    {"geometry", "A geometry file"},
    {"toggle", "On or off"},
    {"button", "A button"},
    {"vector2", "Two numbers"},
    {"vector", "Three numbers"},
    {"vector4", "Four numbers"},
    {"intvector2", "Two whole numbers"},
    {"intvector", "Three whole numbers"},
    {"intvector4", "Four whole numbers"},
    {"uv", "Texture coordinates"},
    {"uvw", "Texture coordinates"},
    {"dir", "A direction"},
    {"color", "A colour"},
    {"color4", "A colour with its opacity"},
    {"oppath", "The path of a node"},
    {"oplist", "Paths of nodes"},
    {"object", "The path of an object"},
    {"objectlist", "Paths of objects"},
    {"render", "The path of an output node"},
    {"separator", "A line between parameters"},
    {"geometrydata", "Geometry"},
    {"keyvaluedict", "A table of keys and values"},
    {"label", "A text for reading only"},
    {"rgbamask", "Any of red, green, blue and opacity"},
    {"ordinal", "A choice"},
    {"ramp_flt", "A ramp of numbers"},
    {"ramp_rgb", "A ramp of colours"},
    {"log", "A number on a logarithmic scale"},
    {"intlog", "A whole number on a logarithmic scale"},
    {"data", "Data of the application"},
    {"float_minmax", "The least and the greatest of a range"},
    {"int_minmax", "The least and the greatest of a range, whole numbers"},
    {"int_startend", "The start, the end and the step of a range"},
    {"buttonstrip", "A row of buttons"},
    {"iconstrip", "A row of icons"},
    {"multiparm", "A list of items"},
    {"multiscroll", "A list of items that scrolls"},
    {"multiswitcher", "A list of items, each with a tab"},
    {"group", "A folder with a tab"},
    {"groupradio", "A folder with a radio button"},
    {"groupsimple", "A folder that is always open"},
    {"groupcollapsible", "A folder that opens and closes"},
    {"baseparm", "A parameter of the base interface"},
    {"custom", "A value of the application's own kind"},
};

struct OperatorWords
{
    const char *op;
    const char *words;
};

constexpr OperatorWords theOperators[] = {
    {"==", "is"},      {"!=", "isn't"},   {">=", "is at least"}, {"<=", "is at most"},
    {">", "is above"}, {"<", "is below"}, {"=~", "matches"},     {"!~", "doesn't match"},
};

std::string digits(double value)
{
    return KIT_Digits(value).buffer();
}

void addNames(const std::vector<Parm> &parms, Names &names)
{
    for (const Parm &parm : parms) {
        names.emplace(parm.token, &parm);
        for (const std::string &channel : parm.channels) {
            names.emplace(channel, &parm);
        }
        for (const NOD_DescribedFolder &folder : parm.folders) {
            addNames(folder.members, names);
        }
        addNames(parm.members, names);
    }
}

/// The label of a menu's entry of that token or, as a number, of that place; "" for none.
std::string entryLabel(const Parm &parm, const std::string &value)
{
    const std::vector<NOD_DescribedEntry> none;
    const auto &entries = parm.menu ? parm.menu->entries : none;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].token == value || std::to_string(i) == value) {
            return entries[i].label.empty() ? value : entries[i].label;
        }
    }
    return "";
}

/// "on" or "off" of a toggle's value; "" for any other parameter.
std::string toggleWord(const Parm &parm, const std::string &value)
{
    return parm.type != "toggle"            ? ""
           : value == "off" || value == "0" ? "off"
           : value == "on" || value == "1"  ? "on"
                                            : "";
}

/// What a condition compares of a parameter.
enum class Compared
{
    TEXT,   ///< a text of its own
    WORD,   ///< the token of its menu's entry
    SWITCH, ///< "off" or "on"
    NUMBER,
};

Compared comparedOf(const Parm &parm)
{
    const bool menuFlag = parm.menu && !parm.menu->isDynamic && !parm.menu->entries.empty();
    if (parm.type == "toggle") {
        return menuFlag ? Compared::WORD : parm.menu ? Compared::TEXT : Compared::SWITCH;
    }
    if (parm.type == "ordinal") {
        return menuFlag ? Compared::WORD : parm.menu ? Compared::TEXT : Compared::NUMBER;
    }
    const bool numberFlag = parm.type == "int" || parm.type == "float" ||
                            parm.type == "buttonstrip" || parm.type == "iconstrip";
    return numberFlag ? Compared::NUMBER : Compared::TEXT;
}

/// The texts that a condition may see of it; none if it may see any.
std::vector<std::string> comparedTexts(const Parm &parm, Compared kind)
{
    std::vector<std::string> texts;
    if (kind == Compared::SWITCH) {
        texts = {"off", "on"};
    } else if (kind == Compared::WORD) {
        for (const NOD_DescribedEntry &entry : parm.menu->entries) {
            texts.push_back(entry.token);
        }
    }
    return texts;
}

bool isSame(const std::string &value, const std::string &right)
{
    double a = 0.0;
    double b = 0.0;
    return NODreadFloat(value, a) && NODreadFloat(right, b) ? !(a < b) && !(a > b) : value == right;
}

/// What the condition's right word stands for: an entry of the menu or the toggle; "" for itself.
std::string rightLabel(const Parm &parm, Compared kind, const std::string &right)
{
    if (kind == Compared::SWITCH || !parm.menu) {
        return "";
    }
    const auto &entries = parm.menu->entries;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const bool stripFlag = kind == Compared::NUMBER && parm.menu->mode != "toggle";
        if (kind == Compared::NUMBER ? stripFlag && isSame(std::to_string(i), right)
                                     : isSame(entries[i].token, right)) {
            return entries[i].label.empty() ? entries[i].token : entries[i].label;
        }
    }
    return "";
}

/// What no reader of a comparison by `is` or a number expects: that it holds never, or always.
std::string surprise(const Parm &parm, Compared kind, const std::string &op,
                     const std::string &right)
{
    double number = 0.0;
    const bool equalFlag = op == "==" || op == "!=";
    const bool orderFlag = op[0] == '<' || op[0] == '>';
    const std::vector<std::string> texts = comparedTexts(parm, kind);
    bool anyFlag =
        kind == Compared::TEXT || (kind == Compared::NUMBER && NODreadFloat(right, number));
    for (const std::string &text : texts) {
        anyFlag =
            anyFlag || (equalFlag ? isSame(text, right)
                                  : NODreadFloat(text, number) && NODreadFloat(right, number));
    }
    if (anyFlag || (!equalFlag && !orderFlag)) {
        return "";
    }
    const char *const compared = kind == Compared::SWITCH ? "the word off or on"
                                 : kind == Compared::WORD ? "the token of an entry of its menu"
                                                          : "a number";
    return std::string(op == "!=" ? " (always: " : " (never: ") + "what is compared is " +
           compared + ")";
}

// ---------------------------------------------------------------------- //
// Ramps
// ---------------------------------------------------------------------- //

struct Picture
{
    std::string file;
    std::string svg;       ///< the file's
    std::string svgInPage; ///< with a name of its own for its gradient
};
using Pictures = std::map<std::string, Picture>; ///< by token

std::string fileName(std::string name)
{
    for (char &c : name) {
        const bool plainFlag = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                               (c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-';
        c = plainFlag ? c : '_';
    }
    if (!name.empty() && name.front() == '.') {
        name.front() = '_';
    }
    return name.empty() ? "node" : name;
}

/// Of all ramps of a new node.
class RampDrawer
{
public:
    RampDrawer(const NOD_Interface &interface, NOD_Report &report)
        : myInterface(interface), myReport(report)
    {}

    Pictures draw(const std::vector<Parm> &parms)
    {
        std::vector<const Parm *> ramps;
        addRamps(parms, ramps);
        if (ramps.empty()) {
            return {};
        }
        constexpr double theTime = 0.0;
        const NOD_ReportScope scope(myReport, myInterface.getFile());
        const TRK_EvalContext::Scope context(BASgetSTID(), theTime);
        const ZEL_InputBudget budget(0);
        NOD_Node node(myInterface.getTemplates());
        Pictures pictures;
        for (const Parm *const ramp : ramps) {
            const ZEL_Parm *const parm = node.getParms().getParmPtr(ramp->token.c_str());
            if (!parm || !parm->isRampType()) {
                continue;
            }
            KIT_Ramp keys;
            ZEL_RampUtils::updateRampFromMultiParm(theTime, *parm, &keys, nullptr, nullptr);
            const bool colorFlag = parm->isRampTypeColor();
            const std::string name =
                NODpageName(myInterface) + "_" + fileName(ramp->token) + ".svg";
            pictures[ramp->token] = {name, NODdrawRamp(keys, colorFlag, ramp->token),
                                     NODdrawRamp(keys, colorFlag, ramp->token,
                                                 "band" + std::to_string(pictures.size() + 1))};
        }
        return pictures;
    }

private:
    /// Those in blocks have no values of their own.
    static void addRamps(const std::vector<Parm> &parms, std::vector<const Parm *> &ramps)
    {
        for (const Parm &parm : parms) {
            if (parm.type == "ramp_flt" || parm.type == "ramp_rgb") {
                ramps.push_back(&parm);
            }
            for (const NOD_DescribedFolder &folder : parm.folders) {
                addRamps(folder.members, ramps);
            }
        }
    }

    const NOD_Interface &myInterface;
    NOD_Report &myReport;
};

// ---------------------------------------------------------------------- //
// The page
// ---------------------------------------------------------------------- //

class PageAuthor
{
public:
    PageAuthor(const NOD_Description &description, const Pictures &pictures, NOD_PageWriter &writer)
        : myDescription(description), myPictures(pictures), myWriter(writer)
    {
        addNames(description.parms, myNames);
    }

    std::string write()
    {
        constexpr int theTop = 1;
        const std::string title =
            myDescription.label.empty() ? myDescription.typeName : myDescription.label;
        myWriter.heading(theTop,
                         title == myDescription.typeName ? myWriter.text(title)
                                                         : titled(title, myDescription.typeName),
                         "");
        writeHelp(myDescription.help);
        writeMembers(myDescription.parms, theTop + 1);
        writeImports();
        return myWriter.finish(title);
    }

    /// What the page says of one parameter or folder, without what is in it; "" if there is none.
    std::string writeOne(const std::string &name)
    {
        constexpr int theLevel = 3;
        std::optional<Parm> found;
        findOne(myDescription.parms, name, found);
        if (!found) {
            return "";
        }
        writeMembers({*found}, theLevel);
        return myWriter.finish(name);
    }

private:
    static void findOne(const std::vector<Parm> &parms, const std::string &name,
                        std::optional<Parm> &found)
    {
        for (const Parm &parm : parms) {
            if (parm.kind != Parm::Kind::FOLDERS && parm.token == name) {
                found = parm;
                found->members.clear();
            }
            for (const NOD_DescribedFolder &folder : parm.folders) {
                if (!found && folder.name == name) {
                    found = parm;
                    found->folders = {folder};
                    found->folders.front().members.clear();
                }
                if (!found) {
                    findOne(folder.members, name, found);
                }
            }
            if (!found) {
                findOne(parm.members, name, found);
            }
            if (found) {
                return;
            }
        }
    }

    std::string titled(const std::string &label, const std::string &token) const
    {
        const std::string text = myWriter.text(label);
        return text + (text.empty() ? "" : " ") + myWriter.code(token);
    }

    void writeHelp(const std::string &help)
    {
        std::size_t start = 0;
        while (start < help.size()) {
            const std::size_t end = std::min(help.find('\n', start), help.size());
            const std::string phrase = myWriter.text(help.substr(start, end - start));
            if (!phrase.empty()) {
                myWriter.paragraph(phrase);
            }
            start = end + 1;
        }
    }

    void writeMembers(const std::vector<Parm> &parms, int level)
    {
        for (const Parm &parm : parms) {
            if (parm.kind == Parm::Kind::FOLDERS) {
                writeFolders(parm, level);
            } else if (parm.type != "separator") {
                writeParm(parm, level);
            }
        }
    }

    void writeFolders(const Parm &set, int level)
    {
        for (const NOD_DescribedFolder &folder : set.folders) {
            const std::string name = folder.name.empty() ? set.token : folder.name;
            myWriter.heading(level, titled(folder.label, name), "folder_" + name);
            std::string facts = std::string(NODtypeMeaning(set.type)) + ".";
            if (set.isInvisible || folder.isTabInvisible) {
                facts += " It isn't shown.";
            }
            myWriter.paragraph(facts + conditions(folder.conditions));
            writeSetConditions(set, &folder == &set.folders.front());
            writeHelp(folder.help);
            writeMembers(folder.members, level + 1);
        }
    }

    /// Once for all folders: many may have a long one.
    void writeSetConditions(const Parm &set, bool firstFlag)
    {
        const bool manyFlag = set.folders.size() > 1;
        const std::string phrase = firstFlag || !manyFlag ? conditions(set.conditions) : "";
        if (!phrase.empty()) {
            myWriter.paragraph((manyFlag ? "All folders of the set:" : "The folder:") + phrase);
        } else if (!set.conditions.empty() && !firstFlag) {
            myWriter.paragraph("It is in the set of " + myWriter.code(set.token) + ".");
        }
    }

    void writeParm(const Parm &parm, int level)
    {
        myWriter.heading(level, titled(parm.label, parm.token), parm.token);
        std::string facts =
            std::string(NODtypeMeaning(parm.type)) + "." + valueFacts(parm) + rangeFacts(parm);
        facts += parm.isInvisible ? " It isn't shown." : "";
        facts += parm.isRequired ? " It is required." : "";
        facts += parm.option.empty() ? "" : " Option " + myWriter.code(parm.option) + ".";
        myWriter.paragraph(facts + conditions(parm.conditions));
        writeHelp(parm.help);
        writeMenu(parm);
        const auto picture = myPictures.find(parm.token);
        if (picture != myPictures.end()) {
            myWriter.picture(parm.label, picture->second.file, picture->second.svgInPage);
        }
        writeMembers(parm.members, level + 1);
    }

    std::string valueFacts(const Parm &parm) const
    {
        if (parm.kind == Parm::Kind::BLOCK) {
            return itemFacts(parm);
        }
        std::string facts;
        if (parm.size > 1) {
            facts = " Components ";
            for (int i = 0; i < int(parm.channels.size()); ++i) {
                facts += (i ? ", " : "") + myWriter.code(parm.channels[std::size_t(i)]);
            }
            facts += ".";
        }
        if (parm.defaults.empty() || parm.type == "button") {
            return facts;
        }
        facts += " Default ";
        for (std::size_t i = 0; i < parm.defaults.size(); ++i) {
            facts += (i ? ", " : "") + defaultPhrase(parm, parm.defaults[i]);
        }
        return facts + ".";
    }

    static std::string itemFacts(const Parm &block)
    {
        const bool rampFlag = block.type == "ramp_flt" || block.type == "ramp_rgb";
        const std::string noun = rampFlag ? "key" : "item";
        std::string facts = !block.items
                                ? " How many there are at first, an expression decides."
                                : " There " + std::string(*block.items == 1 ? "is " : "are ") +
                                      std::to_string(*block.items) + " " + noun +
                                      (*block.items == 1 ? "" : "s") + " at first.";
        if (!rampFlag && block.start != 1) {
            facts += " They are numbered from " + std::to_string(block.start) + ".";
        }
        return facts;
    }

    std::string defaultPhrase(const Parm &parm, const NOD_DescribedDefault &one) const
    {
        if (one.isExpression()) {
            return "by the expression " + myWriter.code(*one.text);
        }
        const std::string value = one.text ? *one.text : digits(one.number);
        const std::string word = toggleWord(parm, value);
        const std::string label = entryLabel(parm, value);
        return !word.empty()    ? word
               : !label.empty() ? myWriter.strong(label)
               : value.empty()  ? "empty"
                                : myWriter.code(value);
    }

    static std::string rangeFacts(const Parm &parm)
    {
        const bool bothHardFlag = parm.min && parm.max && parm.min->isHard && parm.max->isHard;
        if (bothHardFlag) {
            return " From " + digits(parm.min->value) + " to " + digits(parm.max->value) + ".";
        }
        std::string facts;
        if (parm.min && parm.min->isHard) {
            facts += " At least " + digits(parm.min->value) + ".";
        }
        if (parm.max && parm.max->isHard) {
            facts += " At most " + digits(parm.max->value) + ".";
        }
        if (parm.min && parm.max) {
            facts += " The slider goes from " + digits(parm.min->value) + " to " +
                     digits(parm.max->value) + ".";
        }
        return facts;
    }

    void writeMenu(const Parm &parm)
    {
        if (!parm.menu) {
            return;
        }
        const NOD_DescribedMenu &menu = *parm.menu;
        if (menu.isDynamic) {
            myWriter.paragraph(menu.language.empty() ? "The application makes its menu."
                                                     : "A script makes its menu.");
            return;
        }
        if (menu.entries.empty()) {
            return;
        }
        myWriter.paragraph(menu.mode == "replace"  ? "Suggestions:"
                           : menu.mode == "toggle" ? "Any of:"
                                                   : "One of:");
        std::vector<std::string> phrases;
        for (const NOD_DescribedEntry &entry : menu.entries) {
            phrases.push_back(myWriter.strong(entry.label.empty() ? entry.token : entry.label) +
                              ": " + myWriter.code(entry.token));
        }
        myWriter.list(phrases);
    }

    // ------------------------------------------------------------------ //
    // Conditions
    // ------------------------------------------------------------------ //

    /// A sentence for each.
    std::string conditions(const std::vector<NOD_DescribedCondition> &all) const
    {
        std::string out;
        for (const NOD_DescribedCondition &one : all) {
            std::string phrase;
            for (const auto &group : one.groups) {
                if (group.empty()) {
                    phrase = " always";
                    break; // nothing is compared: it holds
                }
                phrase += (phrase.empty() ? " when " : ", or when ") + groupPhrase(group);
            }
            if (!phrase.empty()) {
                out += (one.keyword == "hidewhen"      ? " Hidden"
                        : one.keyword == "disablewhen" ? " Disabled"
                                                       : " A change of it recomputes nothing") +
                       phrase + ".";
            }
        }
        return out;
    }

    std::string
    groupPhrase(const std::vector<NOD_DescribedCondition::Comparison> &comparisons) const
    {
        std::string out;
        for (const NOD_DescribedCondition::Comparison &one : comparisons) {
            out += (out.empty() ? "" : " and ") + comparisonPhrase(one);
        }
        return out;
    }

    std::string comparisonPhrase(const NOD_DescribedCondition::Comparison &one) const
    {
        const auto found = myNames.find(one.left);
        const Parm *const parm = found == myNames.end() ? nullptr : found->second;
        std::string out = !parm || one.left != parm->token || parm->label.empty()
                              ? myWriter.code(one.left)
                              : myWriter.strong(parm->label);
        for (const OperatorWords &row : theOperators) {
            out += one.op == row.op ? std::string(" ") + row.words : "";
        }
        const Compared kind = parm ? comparedOf(*parm) : Compared::TEXT;
        const std::string label = parm ? rightLabel(*parm, kind, one.right) : "";
        const bool switchFlag =
            kind == Compared::SWITCH && (one.right == "on" || one.right == "off");
        return out + " " +
               (switchFlag          ? one.right
                : !label.empty()    ? myWriter.strong(label)
                : one.right.empty() ? "empty"
                                    : myWriter.code(one.right)) +
               (parm ? surprise(*parm, kind, one.op, one.right) : "");
    }

    void writeImports()
    {
        if (myDescription.imports.empty()) {
            return;
        }
        constexpr int theLevel = 2;
        myWriter.heading(theLevel, "Imports", "");
        std::vector<std::string> phrases;
        for (const NOD_DescribedImport &one : myDescription.imports) {
            std::string phrase = one.label.empty() ? "" : myWriter.strong(one.label) + ": ";
            phrase += myWriter.code(one.token) + " of " + myWriter.code(one.source);
            phrase += one.mask.empty() ? "" : ", those that match " + myWriter.code(one.mask);
            phrases.push_back(phrase + (one.isEnabled ? "" : ", off"));
        }
        myWriter.list(phrases);
    }

    const NOD_Description &myDescription;
    const Pictures &myPictures;
    NOD_PageWriter &myWriter;
    Names myNames;
};

} // namespace

const char *NODtypeMeaning(const std::string &word)
{
    for (const Meaning &row : theMeanings) {
        if (word == row.word) {
            return row.meaning;
        }
    }
    return nullptr;
}

std::string NODparmPage(const NOD_Interface &interface, const std::string &name)
{
    const NOD_Description description = NODdescribe(interface);
    const Pictures pictures;
    const std::unique_ptr<NOD_PageWriter> markdown = NODmarkdownWriter();
    return PageAuthor(description, pictures, *markdown).writeOne(name);
}

std::string NODpageName(const NOD_Interface &interface)
{
    return fileName(interface.getTypeName());
}

std::vector<NOD_Page> NODdocument(const NOD_Interface &interface, NOD_Report &report)
{
    const NOD_Description description = NODdescribe(interface);
    const Pictures pictures = RampDrawer(interface, report).draw(description.parms);
    const std::string name = NODpageName(interface);
    const std::unique_ptr<NOD_PageWriter> markdown = NODmarkdownWriter();
    const std::unique_ptr<NOD_PageWriter> html = NODhtmlWriter();
    std::vector<NOD_Page> pages{
        {name + ".md", PageAuthor(description, pictures, *markdown).write()},
        {name + ".html", PageAuthor(description, pictures, *html).write()}};
    for (const auto &[token, picture] : pictures) {
        pages.push_back({picture.file, picture.svg});
    }
    return pages;
}
