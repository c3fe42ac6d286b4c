// The tests that a map has: values of a former version, and what they are in a present one.

#include <NOD/NOD_MigrationCheck.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_String.h>
#include <NOD/NOD_Address.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_MigrationMap.h>
#include <NOD/NOD_MigrationWalk.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_TextEdit.h>
#include <NOD/text/NOD_NumberTextPrivate.h>
#include <NOD/tree/NOD_LoadingPrivate.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <cmath>
#include <vector>

namespace
{

using Line = NOD_MigrationTest::Line;

/// A component as a test writes it: a number, a token of a menu, or a text.
std::string valueOf(const ZEL_Parm &parm, int index, double time)
{
    const std::vector<std::string> words = NODordinalWords(parm);
    if (parm.getType().isFloatType() || parm.getType().isOrdinalType()) {
        double number = 0.0;
        parm.getValue(time, number, index, BASgetSTID());
        const bool wordFlag = number >= 0.0 && number < double(words.size());
        return wordFlag ? words[std::size_t(number)] : KIT_Digits(number).buffer();
    }
    constexpr bool expand = true;
    KIT_String value;
    parm.getValue(time, value, index, expand, BASgetSTID());
    return value.toStdString();
}

/// As numbers they may be written in several ways.
bool isSame(const std::string &value, const std::string &expected)
{
    double a = 0.0;
    double b = 0.0;
    return value == expected || (NODreadFloat(value, a) && NODreadFloat(expected, b) && !(a < b) &&
                                 !(b < a) && !std::isnan(a) && !std::isnan(b));
}

class Test
{
public:
    Test(const NOD_MigrationMap &map, int version, const NOD_MigrationTest &test)
        : myMap(map), myVersion(version), myTest(test)
    {}

    /// What is wrong, at its line.
    bool run(NOD_Report &report)
    {
        const int from = myTest.from.empty() ? myVersion - 1 : myMap.findVersion(myTest.from);
        NOD_Node *node = nullptr;
        {
            const NOD_Loading loading;
            node = myRoot.addChild("test", myMap.getVersions()[std::size_t(from)].interface);
        }
        bool good = node != nullptr;
        for (const Line &line : myTest.lines) {
            good =
                good && (line.kind == NOD_MigrationTest::Kind::EXPECT || set(*node, line, report));
        }
        if (!good) {
            return false;
        }
        NODgrowBlocks(*node, 0.0);
        NOD_MigrationWalk walk;
        if (!walk.run(*node, myMap, from, myVersion, 0.0, report)) {
            return false;
        }
        for (const Line &line : myTest.lines) {
            good = (line.kind != NOD_MigrationTest::Kind::EXPECT || expect(*node, line, report)) &&
                   good;
        }
        return good;
    }

private:
    bool set(NOD_Node &node, const Line &line, NOD_Report &report) const
    {
        NOD_Report found;
        NOD_TextEdit edit(node, 0.0, found);
        switch (line.kind) {
        case NOD_MigrationTest::Kind::KEY: edit.key(line.address, line.time, line.value); break;
        case NOD_MigrationTest::Kind::EXPRESSION:
            edit.setExpression(line.address, line.value);
            break;
        default: edit.set(line.address, line.value); break;
        }
        take(found, line, report);
        return !found.hasErrors();
    }
    bool expect(NOD_Node &node, const Line &line, NOD_Report &report) const
    {
        NOD_Report found;
        std::vector<std::string> values;
        for (const NOD_Place &place : NODfindPlaces(node, line.address, found)) {
            const ZEL_Parm *const parm = place.find();
            for (int k = place.first; parm && k < place.end; ++k) {
                values.push_back(valueOf(*parm, k, line.time));
            }
        }
        std::string all;
        bool eachFlag = !values.empty();
        for (const std::string &value : values) {
            all += (all.empty() ? "" : " ") + value;
            // One value is that of all components, as where they are set.
            eachFlag = eachFlag && isSame(value, line.value);
        }
        if (!found.hasErrors() && !eachFlag && !isSameList(values, line.value) &&
            all != line.value) {
            found.error(line.address, "is " + all + ", and the test \"" + myTest.name +
                                          "\" expects " + line.value);
        }
        take(found, line, report);
        return !found.hasErrors();
    }
    static bool isSameList(const std::vector<std::string> &values, const std::string &text)
    {
        std::size_t at = 0;
        for (const std::string &value : values) {
            const std::size_t end = std::min(text.find(' ', at), text.size());
            if (at > text.size() || !isSame(value, text.substr(at, end - at))) {
                return false;
            }
            at = end + 1;
        }
        return at == text.size() + 1 && !values.empty();
    }
    void take(const NOD_Report &found, const Line &line, NOD_Report &report) const
    {
        for (const NOD_Message &message : found.getMessages()) {
            if (message.severity >= KIT_ERROR_ABORT) {
                myMap.tell(line.line, message.subject, message.text, report);
            } else {
                report.add(message);
            }
        }
    }

    const NOD_MigrationMap &myMap;
    int myVersion;
    const NOD_MigrationTest &myTest;
    NOD_Node myRoot;
};

} // namespace

int NODrunMigrationTests(const NOD_MigrationMap &map, NOD_Report &report, int *count)
{
    int failed = 0;
    int all = 0;
    for (int version = 0; version <= map.getLast(); ++version) {
        for (const NOD_MigrationTest &test : map.getVersions()[std::size_t(version)].tests) {
            ++all;
            failed += Test(map, version, test).run(report) ? 0 : 1;
        }
    }
    if (count) {
        *count = all;
    }
    return failed;
}
