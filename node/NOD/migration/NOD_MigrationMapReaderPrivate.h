/// \file NOD_MigrationMapReaderPrivate.h
/// Reads the text of a migration map. Not installed.
///
/// Ownership:  borrows all it is given.
/// Threads:    one thread at a time.
/// Errors:     each fault is an error with its place; the reading goes on at the next line.
#pragma once

#include <NOD/NOD_MigrationMap.h>
#include <NOD/migration/NOD_MigrationRivalsPrivate.h>

#include <string>
#include <string_view>
#include <vector>

class NOD_MigrationMapReader
{
public:
    NOD_MigrationMapReader(NOD_MigrationMap &map, std::string_view text, NOD_Report &report)
        : myMap(map), myText(text), myReport(report)
    {}

    void read();

private:
    struct Word
    {
        std::string text;
        std::size_t begin; ///< in the whole text
        std::size_t end;
    };
    using Words = std::vector<Word>;

    bool takeLine(Words &words);
    void readLine(const Words &words);
    void readPlainLine(const Words &words);
    void readHead(const Words &words);
    void readVersion(const Words &words);
    void readStep(const Words &words, NOD_MigrationStep::Kind kind);
    bool readNames(const Words &words, NOD_MigrationStep &step);
    bool readUnit(const Words &words, NOD_MigrationStep &step);
    bool readValue(const Word &word, NOD_MigrationStep::Value &value);
    void readTest(const Words &words);
    void readTestLine(const Words &words);
    bool checkStep(const Words &words, const NOD_MigrationStep &step);
    void end();

    bool expectWords(const Words &words, std::size_t least, std::size_t most, const char *form);
    /// Of one word, or from one to another.
    void fail(const Word &word, const std::string &text, std::vector<std::string> expected = {});
    void fail(std::size_t begin, std::size_t end, const std::string &text, std::string found = {},
              std::vector<std::string> expected = {}, const std::string &subject = {});
    /// Of a whole line, which is about a name.
    void failLine(const Words &words, const std::string &subject, const std::string &text);
    bool readNumber(const Word &word, double &number);

    NOD_MigrationMap &myMap;
    std::string_view myText;
    NOD_Report &myReport;
    NOD_MigrationRivals myRivals; ///< the steps of the last version
    std::size_t myAt = 0;
    int myLine = 0;
    int mySteps = 0;
    int myTests = 0;
    bool myStartedFlag = false;
    bool myTestFaultFlag = false; ///< something was told since the test began
    bool myTestFlag = false;      ///< in a test
};
