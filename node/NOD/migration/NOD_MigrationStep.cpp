#include <NOD/NOD_MigrationStep.h>

#include <KIT/KIT_Digits.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/tree/NOD_NumberPatternPrivate.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace
{

using Step = NOD_MigrationStep;
using Kind = Step::Kind;
using Value = Step::Value;

constexpr const char *theKindWords[] = {"rename", "retype", "unit",   "menu",
                                        "split",  "join",   "freeze", "drop"};
constexpr const char *theValueWords[] = {"float", "int", "toggle", "menu", "string"};

/// Whether a value of the one, made one of the other, can be found again. A number that another kind of number can't hold
/// is told as changed when it becomes one; a text has many ways to say a number.
bool isUndoable(Value from, Value to)
{
    return from != Value::STRING || to == Value::MENU;
}

template <class Word, std::size_t N>
bool findWord(const char *const (&words)[N], std::string_view word, Word &found)
{
    const auto *const at = std::find(std::begin(words), std::end(words), word);
    if (at != std::end(words)) {
        found = Word(at - std::begin(words));
    }
    return at != std::end(words);
}

/// In quotes if it is no single word.
std::string wordText(const std::string &text)
{
    const bool plainFlag = !text.empty() && text[0] != '#' && text[0] != '"' &&
                           std::all_of(text.begin(), text.end(), [](char c) {
                               return static_cast<unsigned char>(c) > ' ' && c != '"' && c != '\\';
                           });
    KIT_WorkBuffer buffer;
    buffer.appendQuoted(text);
    return plainFlag ? text : std::string(buffer.view());
}

char undone(char sign)
{
    switch (sign) {
    case '*': return '/';
    case '/': return '*';
    case '+': return '-';
    default: return '+';
    }
}

/// What a name of the former version is called in the present one: several names after a split.
std::vector<std::string> presentNames(const std::vector<Step> &steps, const std::string &name)
{
    for (const Step &step : steps) {
        const int source = step.isValueStep() || step.targets.empty() ? -1 : step.findSource(name);
        std::vector<std::string> names;
        for (std::size_t i = 0; source >= 0 && i < step.targets.size(); ++i) {
            names.push_back(step.targetOf(name, source, int(i)));
        }
        if (!names.empty()) {
            return names;
        }
    }
    return {name};
}

/// The value steps of a name, in words that don't name it.
std::string valueTexts(const std::vector<Step> &steps, const std::string &name)
{
    std::string texts;
    for (Step step : steps) {
        if (step.isValueStep() && step.findSource(name) >= 0) {
            step.sources.clear();
            texts += step.asText() + "\n";
        }
    }
    return texts;
}

/// What a join makes one has to be one: then the first of its parameters stands for all.
enum class Part
{
    NONE,
    FIRST,
    OTHER,
    UNEQUAL
};

/// The joins of a version, and whether the parameters of each have the same value steps.
class Joins
{
public:
    explicit Joins(const std::vector<Step> &steps)
    {
        for (const Step &step : steps) {
            const std::string first =
                step.kind == Kind::JOIN ? valueTexts(steps, step.sources[0]) : "";
            if (step.kind == Kind::JOIN) {
                myJoins.emplace_back(&step, std::all_of(step.sources.begin(), step.sources.end(),
                                                        [&](const std::string &name) {
                                                            return valueTexts(steps, name) == first;
                                                        }));
            }
        }
    }
    Part partOf(const std::string &name) const
    {
        for (const auto &[join, equalFlag] : myJoins) {
            const int source = join->findSource(name);
            if (source >= 0) {
                return !equalFlag ? Part::UNEQUAL : source == 0 ? Part::FIRST : Part::OTHER;
            }
        }
        return Part::NONE;
    }

private:
    std::vector<std::pair<const Step *, bool>> myJoins;
};

/// A value step without its names; false if it can't be undone.
bool undoValue(const std::vector<Step> &steps, Step &step)
{
    if (step.kind == Kind::RETYPE) {
        const bool good = isUndoable(step.from, step.to);
        std::swap(step.from, step.to);
        return good;
    }
    if (step.kind == Kind::UNIT) {
        step.operations = NODundoOperations(step.operations);
        step.undoFlag = !step.undoFlag;
        return true;
    }
    // Two entries that have become one.
    const auto same = [&](const Step &one) {
        return one.kind == Kind::MENU && one.sources == step.sources &&
               one.newEntry == step.newEntry;
    };
    const bool good = std::count_if(steps.begin(), steps.end(), same) == 1;
    std::swap(step.entry, step.newEntry);
    return good;
}

} // namespace

// ---------------------------------------------------------------------- //
// Words
// ---------------------------------------------------------------------- //

const char *NOD_MigrationStep::getKindWord(Kind kind)
{
    return theKindWords[std::size_t(kind)];
}

bool NOD_MigrationStep::findKind(std::string_view word, Kind &kind)
{
    return findWord(theKindWords, word, kind);
}

std::vector<std::string> NOD_MigrationStep::getKindWords()
{
    return {std::begin(theKindWords), std::end(theKindWords)};
}

const char *NOD_MigrationStep::getValueWord(Value value)
{
    return theValueWords[std::size_t(value)];
}

bool NOD_MigrationStep::findValue(std::string_view word, Value &value)
{
    return findWord(theValueWords, word, value);
}

std::vector<std::string> NOD_MigrationStep::getValueWords()
{
    return {std::begin(theValueWords), std::end(theValueWords)};
}

// ---------------------------------------------------------------------- //
// Steps
// ---------------------------------------------------------------------- //

NOD_MigrationStep NOD_MigrationStep::rename(const std::string &former, const std::string &present)
{
    NOD_MigrationStep step;
    step.sources = {former};
    step.targets = {present};
    return step;
}

std::string NOD_MigrationStep::asText() const
{
    std::string text = getKindWord(kind);
    for (const std::vector<std::string> *names : {&sources, &targets}) {
        for (const std::string &name : *names) {
            text += " " + wordText(name);
        }
    }
    for (const Operation &operation : operations) {
        text += std::string(" ") + operation.sign + " " + KIT_Digits(operation.number).buffer();
    }
    switch (kind) {
    case Kind::RETYPE: return text + " " + getValueWord(from) + " " + getValueWord(to);
    case Kind::MENU: return text + " " + wordText(entry) + " " + wordText(newEntry);
    case Kind::DROP: return text + " " + wordText(reason);
    default: return text;
    }
}

int NOD_MigrationStep::findSource(const std::string &token) const
{
    for (std::size_t i = 0; i < sources.size(); ++i) {
        std::vector<std::string> numbers;
        const bool patternFlag = sources[i].find('#') != std::string::npos;
        if (patternFlag ? NODmatchNumbers(token, sources[i], numbers) : token == sources[i]) {
            return int(i);
        }
    }
    return -1;
}

std::string NOD_MigrationStep::targetOf(const std::string &token, int source, int target) const
{
    std::vector<std::string> numbers;
    if (std::size_t(target) >= targets.size() ||
        !NODmatchNumbers(token, sources[std::size_t(source)], numbers)) {
        return token;
    }
    return NODwithNumbers(targets[std::size_t(target)], numbers);
}

std::vector<NOD_MigrationStep::Operation>
NODundoOperations(std::vector<NOD_MigrationStep::Operation> operations)
{
    std::reverse(operations.begin(), operations.end());
    for (Step::Operation &operation : operations) {
        operation.sign = undone(operation.sign);
    }
    return operations;
}

std::vector<NOD_MigrationStep> NODundoSteps(const std::vector<NOD_MigrationStep> &steps,
                                            std::vector<std::size_t> &faults)
{
    std::vector<Step> back;
    const Joins joins(steps);
    for (std::size_t i = steps.size(); i-- > 0;) {
        Step step = steps[i];
        if (step.isValueStep()) {
            const Part part = joins.partOf(step.sources[0]);
            if (part == Part::OTHER) {
                continue;
            }
            if (part == Part::UNEQUAL || !undoValue(steps, step)) {
                faults.insert(faults.begin(), i);
                continue;
            }
            for (const std::string &name : presentNames(steps, step.sources[0])) {
                step.sources = {name};
                back.push_back(step);
            }
        } else if (step.kind == Kind::DROP) {
            faults.insert(faults.begin(), i);
        } else if (step.kind != Kind::FREEZE) {
            std::swap(step.sources, step.targets);
            step.kind = step.kind == Kind::SPLIT  ? Kind::JOIN
                        : step.kind == Kind::JOIN ? Kind::SPLIT
                                                  : step.kind;
            back.push_back(step);
        }
    }
    return back;
}
