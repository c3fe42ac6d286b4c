// Rules of the script as a whole: Z501 to Z504.

#include <BAS/BAS_Utf8.h>
#include <KIT/KIT_Nearest.h>
#include <NOD/lint/NOD_LintContextPrivate.h>

#include <ZEL/ZEL_SpareData.h>

#include <algorithm>
#include <optional>
#include <unordered_map>

namespace
{

using Block = NOD_LintContext::Block;
using Entry = NOD_LintContext::Entry;
using Extra = NOD_LintContext::Extra;

void tellEnd(NOD_LintContext &context)
{
    const NOD_LintTokens &tokens = context.tokens();
    const int end = context.script().getEnd();
    if (end < 0 || end + 1 >= tokens.size()) {
        return;
    }
    int parms = 0;
    for (int i = end + 1; i + 1 < tokens.size(); ++i) {
        parms += tokens.text(i) == "parm" && tokens.text(i + 1) == "{";
    }
    context.add(
        NOD_LintCode::Z501, 0, end,
        "the script ends here, and what comes after it isn't read" +
            (parms ? ": " + std::to_string(parms) + (parms == 1 ? " parameter" : " parameters")
                   : ""));
}

// ---------------------------------------------------------------------- //
// Tags
// ---------------------------------------------------------------------- //

const std::vector<std::string> &knownTags()
{
    static const std::vector<std::string> theTags = {
#define ZEL_SPARE_TOKEN(stem, text) text,
#define ZEL_SPARE_EXTRA_TOKEN(stem, text) text,
#include <ZEL/ZEL_SpareDataTokens.def>
    };
    return theTags;
}

void tellTags(NOD_LintContext &context, int number)
{
    for (const Entry &entry : context.block(number).entries) {
        constexpr int theOnePair = 4;
        if ((entry.word != "parmtag" && entry.word != "attribute" && entry.word != "grouptag") ||
            entry.count() < theOnePair) {
            continue;
        }
        const std::string name = context.text(entry.first + 1);
        const std::vector<std::string> &known = knownTags();
        Extra extra;
        if (std::find(known.begin(), known.end(), name) == known.end()) {
            constexpr std::size_t theShare = 6; // applications have tags of their own
            const std::string *const near = KITnearestWord(name, known, theShare);
            extra.nearest = near ? *near : "";
        }
        if (!extra.nearest.empty()) {
            context.add(NOD_LintCode::Z502, number, entry.first + 1,
                        "the tag " + name + " has no meaning", extra);
        }
    }
}

// ---------------------------------------------------------------------- //
// Included files
// ---------------------------------------------------------------------- //

bool isNameByte(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

/// The names that are defined in a text.
std::vector<std::string> definedNames(std::string_view text)
{
    constexpr std::string_view theWord = "define";
    std::vector<std::string> names;
    for (std::size_t at = text.find(theWord); at != std::string_view::npos;
         at = text.find(theWord, at + 1)) {
        const std::size_t first =
            std::min(text.find_first_not_of(" \t", at + theWord.size()), text.size());
        std::size_t last = first;
        while (last < text.size() && isNameByte(text[last])) {
            ++last;
        }
        if (last > first) {
            names.emplace_back(text.substr(first, last - first));
        }
    }
    return names;
}

/// Whether a text has a directive that isn't one of those that guard or define: one that may change what
/// other files mean.
bool hasOtherDirective(std::string_view text)
{
    for (std::size_t at = text.find('#'); at != std::string_view::npos;
         at = text.find('#', at + 1)) {
        std::size_t first = text.find_first_not_of(" \t", at + 1);
        first = std::min(first, text.size());
        std::size_t last = first;
        while (last < text.size() && isNameByte(text[last])) {
            ++last;
        }
        const std::string_view word = text.substr(first, last - first);
        if (word != "ifndef" && word != "define" && word != "endif" && word != "include") {
            return true; // a "#" in a comment too: rather used too often than too seldom
        }
    }
    return false;
}

/// The words of all files, in comments too: a name is rather used too often than too seldom.
class Words
{
public:
    explicit Words(const std::vector<NOD_LintTokens::File> &files)
    {
        for (std::size_t i = 0; i < files.size(); ++i) {
            add(files[i].text, i);
        }
    }

    /// Whether another file than this one has it.
    bool isElsewhere(std::string_view word, std::size_t file) const
    {
        const auto found = myFiles.find(word);
        return found != myFiles.end() && (found->second == theMany || found->second != file);
    }

private:
    static constexpr std::size_t theMany = std::size_t(-1);

    void add(std::string_view text, std::size_t file)
    {
        for (std::size_t at = 0; at < text.size();) {
            std::size_t end = at;
            while (end < text.size() && isNameByte(text[end])) {
                ++end;
            }
            if (end > at) {
                std::size_t &owner =
                    myFiles.try_emplace(text.substr(at, end - at), file).first->second;
                owner = owner == file ? file : theMany;
            }
            at = end + 1;
        }
    }

    std::unordered_map<std::string_view, std::size_t> myFiles;
};

class Includes
{
public:
    explicit Includes(NOD_LintContext &context)
        : myContext(context), myUsed(context.tokens().getFiles().size())
    {}

    void run()
    {
        const NOD_LintTokens &tokens = myContext.tokens();
        if (tokens.getIncludes().empty()) {
            return;
        }
        for (int i = 0; i < tokens.size(); ++i) {
            myUsed[std::size_t(tokens[i].file)] = true;
        }
        const Words words(tokens.getFiles());
        for (std::size_t i = 1; i < myUsed.size(); ++i) {
            myUsed[i] = myUsed[i] || hasNamedMacro(i, words) ||
                        hasOtherDirective(tokens.getFiles()[i].text);
        }
        passOn();
        for (const NOD_LintTokens::Include &include : tokens.getIncludes()) {
            if (!myUsed[std::size_t(include.file)] && include.fromFile >= 0) {
                tell(include);
            }
        }
    }

private:
    bool hasNamedMacro(std::size_t file, const Words &words) const
    {
        const std::vector<std::string> names =
            definedNames(myContext.tokens().getFiles()[file].text);
        return std::any_of(names.begin(), names.end(),
                           [&](const std::string &name) { return words.isElsewhere(name, file); });
    }

    /// Who includes a file that is used is used too.
    void passOn()
    {
        for (bool changedFlag = true; changedFlag;) {
            changedFlag = false;
            for (const NOD_LintTokens::Include &include : myContext.tokens().getIncludes()) {
                if (include.fromFile >= 0 && myUsed[std::size_t(include.file)] &&
                    !myUsed[std::size_t(include.fromFile)]) {
                    myUsed[std::size_t(include.fromFile)] = changedFlag = true;
                }
            }
        }
    }

    void tell(const NOD_LintTokens::Include &include)
    {
        const std::vector<NOD_LintTokens::File> &files = myContext.tokens().getFiles();
        const NOD_LintTokens::File &from = files[std::size_t(include.fromFile)];
        const std::string_view text = from.text;
        const std::size_t before =
            include.begin == 0 ? std::string_view::npos : text.rfind('\n', include.begin - 1);
        const std::size_t end = std::min(text.find('\n', include.end), text.size());
        std::optional<NOD_LintContext::Edit> edit{
            {include.fromFile, before + 1, std::min(end + 1, text.size()), ""}};
        if (text.substr(before + 1, end - before).find("/*") != std::string_view::npos) {
            edit.reset(); // the comment may go on in the next line
        }
        myContext.addAt(NOD_LintCode::Z503, include.fromFile, include.line, include.begin,
                        include.end,
                        "nothing of " + files[std::size_t(include.file)].name + " is used", edit);
    }

    NOD_LintContext &myContext;
    std::vector<bool> myUsed;
};

// ---------------------------------------------------------------------- //
// Texts
// ---------------------------------------------------------------------- //

/// What no font shows in a text; "" if it shows all.
std::string unprintable(std::string_view text)
{
    while (!text.empty()) {
        const std::size_t size = BASutf8Length(text);
        const unsigned first = static_cast<unsigned char>(text[0]);
        if (size == 0) {
            return "a byte " + std::to_string(first) + " that is no UTF-8";
        }
        const bool blankFlag = first == '\n' || first == '\t' || first == '\r';
        if ((first < 0x20 && !blankFlag) || first == 0x7f) {
            return "a control character " + std::to_string(first);
        }
        text.remove_prefix(size);
    }
    return "";
}

void tellTexts(NOD_LintContext &context, int number)
{
    for (const Entry &entry : context.block(number).entries) {
        const bool menuFlag = entry.word.substr(0, 4) == "menu";
        if (entry.word != "label" && entry.word != "help" && !menuFlag) {
            continue;
        }
        for (int i = entry.first; i < entry.last; ++i) {
            const std::string fault = unprintable(context.tokens().text(i));
            if (!fault.empty()) {
                context.add(NOD_LintCode::Z504, number, i,
                            "the " + std::string(menuFlag ? "menu" : entry.word) + " has " + fault);
                break;
            }
        }
    }
}

} // namespace

void NODlintFiles(NOD_LintContext &context)
{
    tellEnd(context);
    Includes(context).run();
    for (std::size_t i = 0; i < context.blocks().size(); ++i) {
        tellTags(context, int(i));
        tellTexts(context, int(i));
    }
}
