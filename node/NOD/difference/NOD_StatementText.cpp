#include <NOD/difference/NOD_StatementRecordsPrivate.h>

#include <BAS/BAS_Character.h>

#include <algorithm>
#include <charconv>
#include <unordered_map>
#include <utility>
#include <vector>

namespace
{

using Kind = NOD_RecordKind;
using Records = std::vector<const NOD_Record *>;

std::string textOf(const NOD_Record *record)
{
    return record ? NODtextOf(record->getValue()) : std::string();
}

int numberOf(const NOD_Record &record)
{
    int number = 0;
    const std::string &name = record.getName();
    std::from_chars(name.data(), name.data() + name.size(), number);
    return number;
}

class Writer
{
public:
    std::string run(const NOD_Record &top)
    {
        if (top.getKind() == Kind::STATEMENT) {
            const NOD_Record nowhere(Kind::DECLARATION);
            writeStatement(top, top.getParent() ? *top.getParent() : nowhere);
        } else {
            writeBlock(top);
        }
        return std::move(myText);
    }

private:
    void writeBlanks(const NOD_Record &of, const char *name, const char *usual);
    void writeWord(const std::string &word);
    void writeBlock(const NOD_Record &block);
    void writeParts(const NOD_Record &block);
    void writeStatement(const NOD_Record &statement, const NOD_Record &block);
    void writeAll(Records records, bool numberFlag);

    std::string myText;
    bool myWordFlag = false;     ///< a word was written last
    bool myOpenLineFlag = false; ///< or a comment that goes to the end of its line
};

void Writer::writeBlanks(const NOD_Record &of, const char *name, const char *usual)
{
    const NOD_Record *const comment = of.find(Kind::COMMENT, name);
    const NOD_Record *const blanks = comment ? comment : of.find(Kind::BLANKS, name);
    const std::string text = blanks ? textOf(blanks) : usual;
    if (text.empty()) {
        return;
    }
    const std::size_t first = text.find_first_not_of(" \t");
    const bool directiveFlag = first != std::string::npos && text[first] == '#';
    const std::size_t line = myText.find_last_not_of(" \t");
    if (myOpenLineFlag || (directiveFlag && line != std::string::npos && myText[line] != '\n')) {
        myText += myText.empty() || text[0] == '\n' ? "" : "\n";
    }
    myText += text;
    myOpenLineFlag = NOD_Blanks(text).openLineFlag;
    myWordFlag = false;
}

void Writer::writeWord(const std::string &word)
{
    constexpr std::string_view theBrackets = "{}[]";
    const auto isBracket = [&](char c) { return theBrackets.find(c) != std::string_view::npos; };
    if (word.empty()) {
        return;
    }
    if (myOpenLineFlag) {
        myText += '\n';
    } else if (myWordFlag && myText.back() != '"' && !isBracket(myText.back()) &&
               !isBracket(word[0])) {
        myText += ' ';
    }
    myText += word;
    myWordFlag = true;
    myOpenLineFlag = false;
}

void Writer::writeBlock(const NOD_Record &block)
{
    const NOD_Record *const keyword = block.find(Kind::PROPERTY, theKindProperty);
    writeBlanks(block, theBefore, "");
    if (keyword) {
        writeWord(textOf(keyword));
        writeBlanks(block, theBetween, " ");
    }
    writeWord(theOpenBrace);
    writeBlanks(block, theAfter, "\n");
    writeParts(block);
    writeBlanks(block, theBeforeEnd, "");
    writeWord(theCloseBrace);
    writeBlanks(block, theAfterEnd, "\n");
}

/// Statements come first, but for those that had a declaration in front of them.
void Writer::writeParts(const NOD_Record &block)
{
    Records first;
    Records declarations;
    std::unordered_map<std::string, Records> following;
    for (const auto &part : block.getParts()) {
        if (part->getKind() == Kind::DECLARATION) {
            declarations.push_back(part.get());
        } else if (part->getKind() == Kind::STATEMENT) {
            const NOD_Record *const follows = part->find(Kind::BLANKS, theFollows);
            (follows ? following[textOf(follows)] : first).push_back(part.get());
        }
    }
    const auto writeThem = [&](const Records &statements) {
        for (const NOD_Record *statement : statements) {
            writeStatement(*statement, block);
        }
    };
    writeThem(first);
    for (const NOD_Record *declaration : declarations) {
        writeBlock(*declaration);
        writeThem(following[declaration->getName()]);
        following.erase(declaration->getName());
    }
    for (const auto &part : block.getParts()) { // what they came after is gone
        const NOD_Record *const follows =
            part->getKind() == Kind::STATEMENT ? part->find(Kind::BLANKS, theFollows) : nullptr;
        if (follows && following.count(textOf(follows)) != 0) {
            writeStatement(*part, block);
        }
    }
}

void Writer::writeAll(Records records, bool numberFlag)
{
    if (numberFlag) {
        std::stable_sort(records.begin(), records.end(),
                         [](const auto *a, const auto *b) { return numberOf(*a) < numberOf(*b); });
    }
    for (const NOD_Record *record : records) {
        writeBlanks(*record, theBefore, " ");
        writeWord(textOf(record));
    }
}

void Writer::writeStatement(const NOD_Record &statement, const NOD_Record &block)
{
    constexpr bool isNumbered = true;
    Records words;
    Records entries;
    Records pairs;
    for (const auto &part : statement.getParts()) {
        const bool braceFlag = part->getName() == theOpenBrace || part->getName() == theCloseBrace;
        if (part->getKind() == Kind::WORD && !braceFlag && part->getName() != theOwnName) {
            words.push_back(part.get());
        } else if (part->getKind() == Kind::ENTRY) {
            entries.push_back(part.get());
        } else if (part->getKind() == Kind::MENU_ENTRY) {
            pairs.push_back(part.get());
        }
    }
    writeBlanks(statement, theBefore, "");
    writeWord(textOf(&statement));
    if (const NOD_Record *const own = statement.find(Kind::WORD, theOwnName)) {
        const std::string prefix =
            NODdeclarationPrefix(textOf(block.find(Kind::PROPERTY, theKindProperty)));
        const std::string name = block.getName();
        writeBlanks(*own, theBefore, " ");
        writeWord(textOf(own) + name.substr(std::min(prefix.size(), name.size())) + textOf(own));
    }
    writeAll(words, isNumbered);
    if (const NOD_Record *const open = statement.find(Kind::WORD, theOpenBrace)) {
        writeBlanks(*open, theBefore, " ");
        writeWord(theOpenBrace);
    }
    writeAll(entries, isNumbered);
    writeAll(pairs, !isNumbered);
    if (const NOD_Record *const close = statement.find(Kind::WORD, theCloseBrace)) {
        writeBlanks(*close, theBefore, " ");
        writeWord(theCloseBrace);
    }
    writeBlanks(statement, theAfter, "\n");
}

} // namespace

std::string NODstatementText(const NOD_Record &top)
{
    return Writer().run(top);
}

void NODaddNote(NOD_Record &declaration, const std::string &text, const char *lineEnd)
{
    NOD_Record *before = declaration.find(Kind::COMMENT, theBefore);
    const std::string there = textOf(before ? before : declaration.find(Kind::BLANKS, theBefore));
    const std::size_t feed = there.rfind('\n');
    const std::size_t line = feed == std::string::npos ? 0 : feed + 1;
    const std::string indent = there.substr(line, there.find_first_not_of(" \t", line) - line);
    if (!before) {
        before = &declaration.add(Kind::COMMENT, theBefore);
    }
    before->setValue(there.substr(0, line) + indent + "// " + text + lineEnd + there.substr(line));
}
