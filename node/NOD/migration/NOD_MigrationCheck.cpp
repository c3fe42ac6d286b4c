#include <NOD/NOD_MigrationCheck.h>

#include <NOD/NOD_Interface.h>
#include <NOD/NOD_MigrationMap.h>
#include <NOD/NOD_Report.h>
#include <NOD/migration/NOD_MigrationConvertPrivate.h>
#include <NOD/migration/NOD_MigrationNamesPrivate.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace
{

using Step = NOD_MigrationStep;
using Kind = Step::Kind;
using Value = Step::Value;

std::string inQuotes(const std::string &text)
{
    return "\"" + text + "\"";
}

/// One version against the next.
class Comparison
{
public:
    Comparison(const NOD_MigrationMap &map, int version, NOD_Report &report)
        : myMap(map), myFormerVersion(map.getVersions()[std::size_t(version - 1)]),
          myVersion(map.getVersions()[std::size_t(version)]),
          myFormer(myFormerVersion.interface->getTemplates()),
          myPresent(myVersion.interface->getTemplates()), myReport(report)
    {}

    void check()
    {
        for (const Step &step : myVersion.steps) {
            checkStep(step);
        }
        for (const NOD_MigrationName &name : myFormer.getAll()) {
            checkName(name);
        }
    }

private:
    void tell(const Step &step, const std::string &subject, const std::string &text)
    {
        myMap.tell(step.line, subject, text, myReport);
    }
    void tell(const std::string &subject, const std::string &text)
    {
        myMap.tell(myVersion.line, subject, text, myReport);
    }
    void checkStep(const Step &step);
    void checkKind(const Step &step, const NOD_MigrationName &name);
    void checkSizes(const Step &step);
    void checkEntry(const Step &step, const NOD_MigrationName &name);
    void checkName(const NOD_MigrationName &name);
    void claim(const NOD_MigrationName &name, const std::string &target, int component);
    void compare(const NOD_MigrationName &name, const NOD_MigrationName &target,
                 const std::vector<const Step *> &values, bool wholeFlag);
    void compareEntries(const NOD_MigrationName &name, const NOD_MigrationName &target,
                        const std::vector<const Step *> &values);
    bool isDropped(const std::string &token) const;
    std::vector<std::string> targetsOf(const Step &step, const std::string &token) const;

    const NOD_MigrationMap &myMap;
    const NOD_MigrationVersion &myFormerVersion;
    const NOD_MigrationVersion &myVersion;
    NOD_MigrationNames myFormer;
    NOD_MigrationNames myPresent;
    NOD_Report &myReport;
    std::map<std::string, std::string>
        myClaimed; ///< what each component of the present version was
};

// ---------------------------------------------------------------------- //
// Steps
// ---------------------------------------------------------------------- //

void Comparison::checkStep(const Step &step)
{
    const int before = myReport.getErrorCount();
    for (const std::string &source : step.sources) {
        if (!myFormer.find(source)) {
            tell(step, source,
                 "version " + myFormerVersion.name + " has no parameter of that name");
        }
    }
    for (const std::string &target : step.targets) {
        if (!myPresent.find(target)) {
            tell(step, target, "version " + myVersion.name + " has no parameter of that name");
        }
    }
    if (myReport.getErrorCount() != before) {
        return;
    }
    const NOD_MigrationName &name = *myFormer.find(step.sources[0]);
    if (step.isValueStep()) {
        checkKind(step, name);
    }
    if (step.kind == Kind::SPLIT || step.kind == Kind::JOIN) {
        checkSizes(step);
    }
}

/// Whether what it does can be done to its parameter.
void Comparison::checkKind(const Step &step, const NOD_MigrationName &name)
{
    Value kind = Value::FLOAT;
    if (!NODvalueKindOf(*name.description, kind)) {
        tell(step, name.token, "has no kind of value that the step is for");
        return;
    }
    // A retype before it decides.
    for (const Step &other : myVersion.steps) {
        if (&other == &step) {
            break;
        }
        if (other.kind == Kind::RETYPE && other.findSource(name.token) >= 0) {
            kind = other.to;
        }
    }
    if (step.kind == Kind::RETYPE && kind != step.from) {
        tell(step, name.token,
             std::string("is of the kind ") + Step::getValueWord(kind) + ", not " +
                 Step::getValueWord(step.from));
    } else if (step.kind == Kind::UNIT && kind != Value::FLOAT && kind != Value::INT) {
        tell(step, name.token,
             std::string("a unit is for numbers, and this is of the kind ") +
                 Step::getValueWord(kind));
    } else if (step.kind == Kind::MENU && kind != Value::MENU && kind != Value::STRING) {
        tell(step, name.token,
             std::string("has no menu: it is of the kind ") + Step::getValueWord(kind));
    } else if (step.kind == Kind::MENU) {
        checkEntry(step, name);
    }
}

void Comparison::checkEntry(const Step &step, const NOD_MigrationName &name)
{
    const std::vector<std::string> entries = NODfixedEntries(*name.description);
    if (!entries.empty() &&
        std::find(entries.begin(), entries.end(), step.entry) == entries.end()) {
        tell(step, name.token,
             inQuotes(step.entry) + " is no entry of its menu in version " + myFormerVersion.name);
    }
}

void Comparison::checkSizes(const Step &step)
{
    const bool splitFlag = step.kind == Kind::SPLIT;
    const std::vector<std::string> &parts = splitFlag ? step.targets : step.sources;
    const NOD_MigrationNames &names = splitFlag ? myPresent : myFormer;
    for (const std::string &part : parts) {
        if (names.find(part)->description->getVectorSize() != 1) {
            tell(step, part, "has several components, and is to be one of a vector");
        }
    }
    const std::string &whole = splitFlag ? step.sources[0] : step.targets[0];
    const int size = (splitFlag ? myFormer : myPresent).find(whole)->description->getVectorSize();
    if (std::size_t(size) != parts.size()) {
        tell(step, whole,
             "has " + std::to_string(size) + " components, and the step " +
                 std::to_string(parts.size()));
    }
}

// ---------------------------------------------------------------------- //
// Parameters
// ---------------------------------------------------------------------- //

bool Comparison::isDropped(const std::string &token) const
{
    const NOD_MigrationName *const name = myFormer.find(token);
    return std::any_of(myVersion.steps.begin(), myVersion.steps.end(),
                       [&](const Step &step) {
                           return step.kind == Kind::DROP && step.findSource(token) >= 0;
                       }) ||
           (name && !name->block.empty() && isDropped(name->block));
}

std::vector<std::string> Comparison::targetsOf(const Step &step, const std::string &token) const
{
    std::vector<std::string> targets;
    for (std::size_t i = 0; i < step.targets.size(); ++i) {
        targets.push_back(step.targetOf(token, step.findSource(token), int(i)));
    }
    return targets;
}

void Comparison::checkName(const NOD_MigrationName &name)
{
    if (isDropped(name.token)) {
        return;
    }
    std::vector<const Step *> values;
    const Step *move = nullptr;
    for (const Step &step : myVersion.steps) {
        if (step.findSource(name.token) >= 0 && step.isValueStep()) {
            values.push_back(&step);
        } else if (step.findSource(name.token) >= 0 && !step.targets.empty()) {
            move = &step;
        }
    }
    const std::vector<std::string> targets =
        move ? targetsOf(*move, name.token) : std::vector<std::string>{name.token};
    for (std::size_t i = 0; i < targets.size(); ++i) {
        const NOD_MigrationName *const target = myPresent.find(targets[i]);
        const bool joinFlag = move && move->kind == Kind::JOIN;
        if (target) {
            claim(name, target->token, joinFlag ? move->findSource(name.token) : -1);
            compare(name, *target, values, !move || move->kind == Kind::RENAME);
        } else if (!move) {
            tell(name.token, "of version " + myFormerVersion.name + " isn't in version " +
                                 myVersion.name + ": rename it, or drop it with a reason");
        }
    }
}

/// Two can't go to one place.
void Comparison::claim(const NOD_MigrationName &name, const std::string &target, int component)
{
    const std::string whole = target + ":-1";
    const std::string place = target + ":" + std::to_string(component);
    const auto found = myClaimed.count(whole) ? myClaimed.find(whole) : myClaimed.find(place);
    if (found != myClaimed.end()) {
        tell(target, "is what both " + found->second + " and " + name.token + " of version " +
                         myFormerVersion.name + " are to be: rename or drop one");
    } else {
        myClaimed[place] = name.token;
    }
}

void Comparison::compare(const NOD_MigrationName &name, const NOD_MigrationName &target,
                         const std::vector<const Step *> &values, bool wholeFlag)
{
    const ZEL_Template &from = *name.description;
    const ZEL_Template &to = *target.description;
    Value kind = Value::FLOAT;
    Value wanted = Value::FLOAT;
    const bool knownFlag = NODvalueKindOf(from, kind) && NODvalueKindOf(to, wanted);
    for (const Step *step : values) {
        kind = step->kind == Kind::RETYPE ? step->to : kind;
    }
    const bool sameFlag =
        from.isMultiType() == to.isMultiType() &&
        (knownFlag || from.getType().getBasicType() == to.getType().getBasicType());
    // A whole number is a number as it is.
    if (!sameFlag ||
        (knownFlag && kind != wanted && !(kind == Value::INT && wanted == Value::FLOAT))) {
        tell(name.token, knownFlag && sameFlag
                             ? std::string("is of the kind ") + Step::getValueWord(kind) +
                                   ", and " + target.token + " of version " + myVersion.name +
                                   " of the kind " + Step::getValueWord(wanted) + ": retype it"
                             : "and " + target.token + " of version " + myVersion.name +
                                   " are of different kinds: drop it with a reason");
        return;
    }
    if (wholeFlag && to.getVectorSize() < from.getVectorSize()) {
        tell(name.token, "has " + std::to_string(from.getVectorSize()) + " components, and " +
                             std::to_string(to.getVectorSize()) + " in version " + myVersion.name);
    }
    compareEntries(name, target, values);
}

void Comparison::compareEntries(const NOD_MigrationName &name, const NOD_MigrationName &target,
                                const std::vector<const Step *> &values)
{
    const std::vector<std::string> present = NODfixedEntries(*target.description);
    std::vector<std::string> left = NODfixedEntries(*name.description);
    const auto isPresent = [&](const std::string &entry) {
        return std::find(present.begin(), present.end(), entry) != present.end();
    };
    for (const Step *step : values) {
        if (step->kind != Kind::MENU) {
            continue;
        }
        left.erase(std::remove(left.begin(), left.end(), step->entry), left.end());
        if (!present.empty() && !isPresent(step->newEntry)) {
            tell(*step, name.token,
                 inQuotes(step->newEntry) + " is no entry of the menu of " + target.token +
                     " in version " + myVersion.name);
        }
    }
    for (const std::string &entry : left) {
        if (!present.empty() && !isPresent(entry)) {
            tell(name.token, "the entry " + inQuotes(entry) + " of its menu isn't in version " +
                                 myVersion.name + ": say what it is with menu");
        }
    }
}

} // namespace

int NODcheckMigration(const NOD_MigrationMap &map, NOD_Report &report)
{
    const int before = report.getErrorCount();
    for (int version = 1; version <= map.getLast(); ++version) {
        Comparison(map, version, report).check();
    }
    return report.getErrorCount() - before;
}
