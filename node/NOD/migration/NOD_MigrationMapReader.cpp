#include <NOD/migration/NOD_MigrationMapReaderPrivate.h>

#include <KIT/KIT_IStream.h>
#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Report.h>
#include <NOD/text/NOD_NumberTextPrivate.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace
{

using Step = NOD_MigrationStep;
using Kind = Step::Kind;

constexpr const char *theStart = "migration";
constexpr const char *theFormat = "1.0";
constexpr std::size_t theMany = ~std::size_t(0);
constexpr std::size_t theMostParts = 32; // components of a vector

/// The words of each kind of step: how many, and what they are.
struct Form
{
    std::size_t least;
    std::size_t most;
    const char *text;
};
constexpr Form theForms[] = {
    {3, 3, "rename FORMER PRESENT"},
    {4, 4, "retype NAME KIND KIND"},
    {4, theMany, "unit NAME * FACTOR + OFFSET"},
    {4, 4, "menu NAME FORMER PRESENT"},
    {4, theMostParts + 2, "split VECTOR NAME NAME ..."},
    {4, theMostParts + 2, "join NAME NAME ... VECTOR"},
    {2, 2, "freeze NAME"},
    {3, 3, "drop NAME REASON"},
};

constexpr const char *theTestWords[] = {"set", "key", "expression", "expect"};

bool isName(const std::string &text)
{
    return !text.empty() && text[0] != '#' && std::all_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) > ' ' && std::strchr("=:@\"\\", c) == nullptr;
    });
}

std::ptrdiff_t marksIn(const std::string &name)
{
    return std::count(name.begin(), name.end(), '#');
}

/// Whether both are about a parameter of the former version that the other is about too.
bool overlap(const Step &a, const Step &b)
{
    return std::any_of(a.sources.begin(), a.sources.end(), [&](const std::string &name) {
        return b.findSource(name) >= 0 ||
               std::find(b.sources.begin(), b.sources.end(), name) != b.sources.end();
    });
}

} // namespace

const char *NOD_MigrationTest::getKindWord(Kind kind)
{
    return theTestWords[std::size_t(kind)];
}

// ---------------------------------------------------------------------- //
// Lines and messages
// ---------------------------------------------------------------------- //

/// The words of the next line, without its comment; false at the end.
bool NOD_MigrationMapReader::takeLine(Words &words)
{
    words.clear();
    if (myAt >= myText.size()) {
        return false;
    }
    ++myLine;
    const std::size_t start = myAt;
    const std::size_t length = std::min(myText.find('\n', start), myText.size()) - start;
    myAt = start + length + 1;
    KIT_IStream is(myText.data() + start, length, KIT_IStream::TEXT);
    KIT_WorkBuffer word;
    for (is.skipWhitespace(); !is.eof() && is.peek() != '#'; is.skipWhitespace()) {
        const std::size_t begin = start + std::size_t(is.tellg());
        const bool good = is.getString(word);
        const std::size_t end = start + std::size_t(is.tellg());
        if (!good) {
            fail(begin, end, "the closing quote is missing");
            words.clear();
            return true;
        }
        words.push_back({std::string(word.view()), begin, end});
    }
    return true;
}

void NOD_MigrationMapReader::fail(std::size_t begin, std::size_t end, const std::string &text,
                                  std::string found, std::vector<std::string> expected,
                                  const std::string &subject)
{
    auto detail = std::make_shared<KIT_MessageDetail>();
    detail->place.file = myMap.myName;
    detail->place.setFromText(myText, begin, end, myLine);
    detail->subject = subject;
    detail->found = std::move(found);
    detail->expected = std::move(expected);
    NOD_Message message;
    message.file = myMap.myName;
    message.line = detail->place.line;
    message.subject = subject;
    message.text = text;
    message.detail = std::move(detail);
    myReport.add(std::move(message));
    myTestFaultFlag = true;
}

void NOD_MigrationMapReader::failLine(const Words &words, const std::string &subject,
                                      const std::string &text)
{
    const std::size_t begin = words.front().begin;
    const std::size_t end = words.back().end;
    fail(begin, end, text, std::string(myText.substr(begin, end - begin)), {}, subject);
}

void NOD_MigrationMapReader::fail(const Word &word, const std::string &text,
                                  std::vector<std::string> expected)
{
    fail(word.begin, word.end, text, word.text, std::move(expected));
}

bool NOD_MigrationMapReader::expectWords(const Words &words, std::size_t least, std::size_t most,
                                         const char *form)
{
    if (words.size() < least) {
        fail(words.back().end, words.back().end, std::string("a word is missing: ") + form);
    } else if (words.size() > most) {
        fail(words[most], "a word too many: " + std::string(form));
    }
    return words.size() >= least && words.size() <= most;
}

bool NOD_MigrationMapReader::readNumber(const Word &word, double &number)
{
    if (NODreadFloat(word.text, number) && std::isfinite(number)) {
        return true;
    }
    fail(word, word.text + " is no finite number");
    return false;
}

// ---------------------------------------------------------------------- //
// The file
// ---------------------------------------------------------------------- //

void NOD_MigrationMapReader::read()
{
    if (myText.substr(0, KIT_IStream::theByteOrderMark.size()) == KIT_IStream::theByteOrderMark) {
        myAt = KIT_IStream::theByteOrderMark.size();
    }
    Words words;
    while (takeLine(words)) {
        if (words.empty()) {
            continue;
        }
        if (!myStartedFlag) {
            myStartedFlag = true;
            // As a rename it would give a parameter a number for a name.
            double number = 0.0;
            myMap.myPlainFlag = !(words.size() >= 2 && words[0].text == theStart &&
                                  NODreadFloat(words[1].text, number));
            if (!myMap.myPlainFlag) {
                if (expectWords(words, 2, 2, "migration 1.0") && words[1].text != theFormat) {
                    fail(words[1], "a map of the form " + words[1].text + " isn't known",
                         {theFormat});
                }
                continue;
            }
            myMap.myVersions.resize(2);
        }
        if (myMap.myPlainFlag) {
            readPlainLine(words);
        } else {
            readLine(words);
        }
    }
    end();
}

void NOD_MigrationMapReader::readPlainLine(const Words &words)
{
    if (words.size() != 2) {
        fail(words.front().begin, words.back().end, "a line is a former and a present name");
        return;
    }
    Step step = Step::rename(words[0].text, words[1].text);
    if (checkStep(words, step)) {
        step.line = myLine;
        step.column = 1;
        myMap.myVersions[1].steps.push_back(std::move(step));
    }
}

void NOD_MigrationMapReader::readLine(const Words &words)
{
    const std::string &word = words[0].text;
    Kind kind = Kind::RENAME;
    if (myTestFlag) {
        readTestLine(words);
    } else if (word == "version") {
        readVersion(words);
    } else if (word == "type" || word == "unmarked") {
        readHead(words);
    } else if (myMap.myVersions.size() < 2) {
        const bool firstFlag = !myMap.myVersions.empty();
        fail(words[0],
             firstFlag ? "the first version has no steps: they lead to the version that they follow"
                       : "expects the first version",
             {"version"});
    } else if (word == "test") {
        readTest(words);
    } else if (Step::findKind(word, kind)) {
        readStep(words, kind);
    } else {
        std::vector<std::string> expected = Step::getKindWords();
        expected.insert(expected.end(), {"test", "version"});
        fail(words[0], "\"" + word + "\" is no step", std::move(expected));
    }
}

void NOD_MigrationMapReader::readHead(const Words &words)
{
    const bool typeFlag = words[0].text == "type";
    std::string &text = typeFlag ? myMap.myType : myMap.myUnmarked;
    if (!expectWords(words, 2, 2, typeFlag ? "type NAME" : "unmarked VERSION")) {
        return;
    }
    if (!text.empty() || words[1].text.empty() || !myMap.myVersions.empty()) {
        fail(words[0], words[1].text.empty() ? "the name is empty"
                       : text.empty()        ? "belongs before the first version"
                                             : "is there twice");
        return;
    }
    text = words[1].text;
}

void NOD_MigrationMapReader::readVersion(const Words &words)
{
    if (!expectWords(words, 2, 3, "version NAME SCRIPT")) {
        return;
    }
    if (!isName(words[1].text)) {
        fail(words[1], "a version is a word without blanks, quotes and =:@");
    } else if (myMap.findVersion(words[1].text) >= 0) {
        fail(words[1], "there is a version " + words[1].text + " already");
    }
    NOD_MigrationVersion version;
    version.name = words[1].text;
    version.script = words.size() > 2 ? words[2].text : "";
    version.line = myLine;
    myMap.myVersions.push_back(std::move(version));
    myRivals.clear();
}

void NOD_MigrationMapReader::end()
{
    // What is missing is missing behind the last word; its line is counted.
    myLine = 0;
    const std::size_t size = myText.find_last_not_of(" \t\r\n") + 1;
    if (myTestFlag) {
        fail(size, size, "the test has no end", {}, {"end"});
    }
    if (!myMap.myPlainFlag && myStartedFlag && myMap.myVersions.size() < 2) {
        fail(size, size, "a map has two versions or more", {}, {"version"});
    }
    if (!myMap.myUnmarked.empty() && myMap.findVersion(myMap.myUnmarked) < 0) {
        fail(0, 0, "unmarked: there is no version " + myMap.myUnmarked);
    }
    if (!myStartedFlag) {
        myMap.myPlainFlag = true;
        myMap.myVersions.resize(2);
    }
}

// ---------------------------------------------------------------------- //
// Steps
// ---------------------------------------------------------------------- //

void NOD_MigrationMapReader::readStep(const Words &words, Kind kind)
{
    const Form &form = theForms[std::size_t(kind)];
    if (!expectWords(words, form.least, form.most, form.text)) {
        return;
    }
    Step step;
    step.kind = kind;
    step.line = myLine;
    step.column = 1;
    bool good = readNames(words, step);
    if (kind == Kind::UNIT) {
        good = readUnit(words, step) && good;
    } else if (kind == Kind::RETYPE) {
        good = readValue(words[2], step.from) && readValue(words[3], step.to) && good;
        if (good && step.from == step.to) {
            fail(words[3], "the kinds are the same");
            good = false;
        }
    } else if (kind == Kind::MENU) {
        step.entry = words[2].text;
        step.newEntry = words[3].text;
    } else if (kind == Kind::DROP) {
        step.reason = words[2].text;
        if (step.reason.empty()) {
            fail(words[2], "the reason is empty");
            good = false;
        }
    }
    if (good && checkStep(words, step)) {
        myMap.myVersions.back().steps.push_back(std::move(step));
    }
}

bool NOD_MigrationMapReader::readNames(const Words &words, Step &step)
{
    const std::size_t count = words.size();
    const auto take = [&](std::size_t first, std::size_t last, std::vector<std::string> &names) {
        for (std::size_t i = first; i < last; ++i) {
            if (!isName(words[i].text)) {
                fail(words[i], "\"" + words[i].text + "\" is no name of a parameter");
                return false;
            }
            names.push_back(words[i].text);
        }
        return true;
    };
    switch (step.kind) {
    case Kind::RENAME:
    case Kind::SPLIT: return take(1, 2, step.sources) && take(2, count, step.targets);
    case Kind::JOIN:
        return take(1, count - 1, step.sources) && take(count - 1, count, step.targets);
    default: return take(1, 2, step.sources);
    }
}

bool NOD_MigrationMapReader::readUnit(const Words &words, Step &step)
{
    for (std::size_t i = 2; i < words.size(); i += 2) {
        const std::string &sign = words[i].text;
        Step::Operation operation{sign.empty() ? ' ' : sign[0], 0.0};
        if (sign.size() != 1 || std::strchr("*/+-", operation.sign) == nullptr) {
            fail(words[i], "\"" + sign + "\" is no operation", {"*", "/", "+", "-"});
            return false;
        }
        if (i + 1 == words.size()) {
            fail(words[i].end, words[i].end, "a number is missing");
            return false;
        }
        if (!readNumber(words[i + 1], operation.number)) {
            return false;
        }
        const bool factorFlag = operation.sign == '*' || operation.sign == '/';
        if (factorFlag && !(std::fabs(operation.number) > 0.0)) {
            fail(words[i + 1], "nothing is left of a value with a factor of 0");
            return false;
        }
        step.operations.push_back(operation);
    }
    return true;
}

bool NOD_MigrationMapReader::readValue(const Word &word, Step::Value &value)
{
    const bool good = Step::findValue(word.text, value);
    if (!good) {
        fail(word, "\"" + word.text + "\" is no kind of value", Step::getValueWords());
    }
    return good;
}

/// Whether it goes with the steps before it; then it is one of them.
bool NOD_MigrationMapReader::checkStep(const Words &words, const Step &step)
{
    if (++mySteps > NOD_MigrationMap::theMostSteps) {
        if (mySteps == NOD_MigrationMap::theMostSteps + 1) {
            fail(words[0], "more than " + std::to_string(NOD_MigrationMap::theMostSteps) +
                               " steps: the rest isn't read");
        }
        return false;
    }
    for (const std::vector<std::string> *names : {&step.sources, &step.targets}) {
        for (const std::string &name : *names) {
            if (marksIn(name) != marksIn(step.sources[0])) {
                failLine(words, step.sources[0], "has not as many # as " + name);
                return false;
            }
        }
    }
    for (const std::size_t place : myRivals.find(step)) {
        const Step &other = myMap.myVersions.back().steps[place];
        const bool menusFlag = step.kind == Kind::MENU && other.kind == Kind::MENU;
        const bool movesFlag = step.isMove() && other.isMove();
        const bool bothFlag =
            (menusFlag || movesFlag) && (overlap(step, other) || overlap(other, step));
        if (bothFlag && movesFlag) {
            const bool renamesFlag = step.kind == Kind::RENAME && other.kind == Kind::RENAME;
            failLine(words, step.sources[0],
                     renamesFlag ? "is to be called " + other.targets[0] + " and " + step.targets[0]
                                 : "line " + std::to_string(other.line) +
                                       " has it already: " + other.asText());
            return false;
        }
        for (const std::string &name : step.targets) {
            if (std::find(other.targets.begin(), other.targets.end(), name) !=
                other.targets.end()) {
                failLine(words, name,
                         "is to be the name of " + other.sources[0] + " and " + step.sources[0]);
                return false;
            }
        }
        if (bothFlag && menusFlag && step.entry == other.entry) {
            fail(words[2], "line " + std::to_string(other.line) + " has the entry already");
            return false;
        }
    }
    myRivals.add(step);
    return true;
}

// ---------------------------------------------------------------------- //
// Tests
// ---------------------------------------------------------------------- //

void NOD_MigrationMapReader::readTest(const Words &words)
{
    myTestFlag = true;
    myTestFaultFlag = false;
    if (++myTests == NOD_MigrationMap::theMostTests + 1) {
        fail(words[0], "more than " + std::to_string(NOD_MigrationMap::theMostTests) + " tests");
    }
    NOD_MigrationTest test;
    test.line = myLine;
    if (expectWords(words, 2, 4, "test NAME from VERSION")) {
        test.name = words[1].text;
        if (words.size() > 2) {
            test.from = words.back().text;
            const int from = words.size() == 4 ? myMap.findVersion(test.from) : -1;
            if (from < 0 || from >= myMap.getLast() || words[2].text != "from") {
                fail(words[2].begin, words.back().end,
                     "expects from, and a version before this one");
            }
        }
    }
    myMap.myVersions.back().tests.push_back(std::move(test));
}

void NOD_MigrationMapReader::readTestLine(const Words &words)
{
    if (words[0].text == "end") {
        const auto &lines = myMap.myVersions.back().tests.back().lines;
        const auto expects = [](const NOD_MigrationTest::Line &line) {
            return line.kind == NOD_MigrationTest::Kind::EXPECT;
        };
        expectWords(words, 1, 1, "end");
        if (std::none_of(lines.begin(), lines.end(), expects) && !myTestFaultFlag) {
            fail(words[0], "the test expects nothing", {"expect"});
        }
        myTestFlag = false;
        return;
    }
    const auto *const found =
        std::find(std::begin(theTestWords), std::end(theTestWords), words[0].text);
    if (found == std::end(theTestWords)) {
        fail(words[0], "\"" + words[0].text + "\" is no line of a test",
             {"set", "key", "expression", "expect", "end"});
        return;
    }
    NOD_MigrationTest::Line line{
        NOD_MigrationTest::Kind(found - theTestWords), {}, {}, 0.0, myLine};
    const bool keyFlag = line.kind == NOD_MigrationTest::Kind::KEY;
    if (!expectWords(words, 3, theMany,
                     keyFlag ? "key ADDRESS@SECONDS VALUE ..." : "ADDRESS VALUE ...")) {
        return;
    }
    const std::size_t mark = words[1].text.find('@');
    line.address = words[1].text.substr(0, mark);
    if (mark != std::string::npos &&
        (!NODreadFloat(words[1].text.substr(mark + 1), line.time) || !std::isfinite(line.time))) {
        fail(words[1], "a time is a number of seconds");
        return;
    }
    const bool timeFlag = keyFlag || line.kind == NOD_MigrationTest::Kind::EXPECT;
    if (keyFlag ? mark == std::string::npos : mark != std::string::npos && !timeFlag) {
        fail(words[1], keyFlag ? "a key has a time: ADDRESS@SECONDS" : "has no time");
        return;
    }
    for (std::size_t i = 2; i < words.size(); ++i) {
        line.value += (i > 2 ? " " : "") + words[i].text;
    }
    myMap.myVersions.back().tests.back().lines.push_back(std::move(line));
}
