#include "ZELT_Cell.h"
#include "ZELT_CommandLine.h"
#include "ZELT_Format.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Progress.h"
#include "ZELT_Session.h"

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Address.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_TextEdit.h>
#include <NOD/NOD_TimeText.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Parm.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <future>
#include <iostream>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

namespace
{

// -------------------------------------------------------------------- //
// Rows: times
// -------------------------------------------------------------------- //

struct Rows
{
    bool framesFlag = false; ///< the range counts
    NOD_FrameRange range;
    double now = 0.0; ///< the one time without frames

    std::int64_t count() const { return framesFlag ? range.count : 1; }
    double time(std::int64_t row) const { return framesFlag ? range.getTime(row) : now; }
};

// -------------------------------------------------------------------- //
// Columns: components
// -------------------------------------------------------------------- //

using Words = std::vector<std::string>;

/// The words of menus (NODordinalWords). Parameters that one menu follows each other with, as the items of a block, share
/// them: there may be as many as there are entries.
class MenuWords
{
public:
    std::shared_ptr<const Words> of(const ZEL_Parm &parm)
    {
        const ZEL_ChoiceList *const menu =
            parm.getType().isOrdinalType() ? parm.getChoiceListPtr() : nullptr;
        if (!menu || menu != myMenu) {
            myWords = std::make_shared<const Words>(NODordinalWords(parm));
            myMenu =
                menu && menu->getStaticSize() > 0 ? menu : nullptr; // others are asked each time
        }
        return myWords;
    }

private:
    const ZEL_ChoiceList *myMenu = nullptr;
    std::shared_ptr<const Words> myWords;
};

/// A component by the name of its parameter, which the item of a block may lose while it evaluates.
struct Column
{
    NOD_Place place;     ///< of one component
    std::string name;    ///< of the parameter; with its node's path, if there are several nodes
    std::string heading; ///< of the component: its channel's name, in the same way
    std::shared_ptr<const Words> words; ///< what a number stands for; none where it is a number
};

using Columns = std::vector<Column>;

void addColumns(const NOD_Place &place, const std::string &path, MenuWords *words, Columns &columns)
{
    const ZEL_Parm *const parm = place.find();
    for (int i = place.first; parm && i < place.end; ++i) {
        Column column;
        column.place = place;
        column.place.first = i;
        column.place.end = i + 1;
        column.name = path + parm->getToken();
        column.heading =
            parm->getVectorSize() > 1 ? path + parm->getChannelToken(i).nonNullStr() : column.name;
        column.words = words ? words->of(*parm) : std::make_shared<const Words>();
        columns.push_back(std::move(column));
    }
}

/// What stands in front of a parameter's name: its node's path, unless there is one node only.
std::string pathOf(ZELT_Session &session, const NOD_Node &node)
{
    if (&node == &session.getNode()) {
        return "";
    }
    KIT_WorkBuffer path;
    return std::string(node.getFullPath(path)) + "/";
}

bool findColumns(ZELT_Session &session, const std::vector<std::string> &addresses, bool numbersFlag,
                 Columns &columns, ZELT_Messages &messages)
{
    NOD_Report report;
    std::vector<NOD_Place> places;
    for (const std::string &address : addresses) {
        const std::vector<NOD_Place> found = NODfindPlaces(session.getNode(), address, report);
        places.insert(places.end(), found.begin(), found.end());
    }
    if (addresses.empty()) {
        for (NOD_Node *const node : session.getNodes()) {
            const std::vector<NOD_Place> found = NODallPlaces(*node);
            places.insert(places.end(), found.begin(), found.end());
        }
    }
    messages.add(report);
    MenuWords words;
    for (const NOD_Place &place : places) {
        addColumns(place, pathOf(session, *place.node), numbersFlag ? nullptr : &words, columns);
    }
    return !report.hasErrors();
}

// -------------------------------------------------------------------- //
// Evaluation
// -------------------------------------------------------------------- //

struct Fault
{
    std::int64_t row = -1;
    int error = EVL::EVL_OK;
    std::string text;
};

struct Table
{
    std::vector<ZELT_Cell> cells;     ///< row by row
    std::vector<std::uint8_t> errors; ///< of the cells
    std::vector<Fault> faults;        ///< the first one of each column
};

/// Evaluates runs of rows; every thread takes the next run.
class Evaluation
{
public:
    Evaluation(ZELT_Session &session, const Columns &columns, const Rows &rows, Table &table)
        : mySession(session), myColumns(columns), myRows(rows), myTable(table),
          myProgress("evaluating", rows.count())
    {
        table.cells.resize(std::size_t(rows.count()) * columns.size());
        table.errors.resize(table.cells.size());
        table.faults.resize(columns.size());
    }

    /// On the thread that owns the list, where reading a block's count may make or remove items.
    void runHere()
    {
        for (std::int64_t row = 0; row < myRows.count(); ++row) {
            const TRK_EvalContext::Work work;
            const ZEL_InputBudget budget(0);
            mySession.growBlocks(myRows.time(row));
            evaluateRow(row);
        }
    }

    void runOn(int threads)
    {
        std::vector<std::future<void>> others;
        try {
            for (int i = 1; i < threads; ++i) {
                others.push_back(std::async(std::launch::async, [this] { takeRuns(); }));
            }
        } catch (const std::system_error &) {
            // No more threads can be started: the running ones do all of the work.
        }
        takeRuns();
        for (std::future<void> &other : others) {
            other.get();
        }
    }

private:
    void takeRuns()
    {
        // Errors are reported by column and row, not by thread.
        const KIT_ErrorManager::Scope quiet(BASgetSTID());
        constexpr std::int64_t run = 16;
        for (std::int64_t row = myNext.fetch_add(run); row < myRows.count();
             row = myNext.fetch_add(run)) {
            const std::int64_t end = std::min(row + run, myRows.count());
            for (std::int64_t i = row; i < end; ++i) {
                const TRK_EvalContext::Work work;
                evaluateRow(i);
            }
        }
    }

    void evaluateRow(std::int64_t row)
    {
        const int thread = BASgetSTID();
        const double time = myRows.time(row);
        const TRK_EvalContext::Scope context(thread, time);
        std::size_t cell = std::size_t(row) * myColumns.size();
        for (std::size_t i = 0; i < myColumns.size(); ++i, ++cell) {
            const NOD_Place &place = myColumns[i].place;
            const ZEL_Parm *const parm = place.find();
            if (parm) {
                ZELT_EvaluationErrors errors(thread);
                myTable.cells[cell] = ZELTevaluate(*parm, place.first, time, thread);
                myTable.errors[cell] = std::uint8_t(errors.find());
                noteFault(i, row, myTable.errors[cell]);
            }
        }
        myProgress.advance();
    }

    void noteFault(std::size_t column, std::int64_t row, int error)
    {
        if (error != EVL::EVL_OK) {
            const std::lock_guard<std::mutex> lock(myLock);
            Fault &fault = myTable.faults[column];
            if (fault.row < 0 || row < fault.row) {
                fault = {row, error, ZELTevaluationError(error)};
            }
        }
    }

    ZELT_Session &mySession;
    const Columns &myColumns;
    const Rows &myRows;
    Table &myTable;
    ZELT_Progress myProgress;
    std::atomic<std::int64_t> myNext{0};
    std::mutex myLock;
};

/// Whether reading a block's count may change its items while others evaluate.
bool hasAnimatedBlock(ZELT_Session &session)
{
    for (NOD_Node *const node : session.getNodes()) {
        const ZEL_ParmList &parms = node->getParms();
        for (int i = 0; i < parms.getEntries(); ++i) {
            const ZEL_Parm *const parm = parms.getParmPtr(i);
            if (parm->isMultiParm() && parm->isTimeDependent(0)) {
                return true;
            }
        }
    }
    return false;
}

void evaluate(ZELT_Session &session, const Columns &columns, const Rows &rows, int threads,
              Table &table)
{
    Evaluation evaluation(session, columns, rows, table);
    if (threads == 1 || hasAnimatedBlock(session)) {
        const KIT_ErrorManager::Scope quiet(BASgetSTID());
        evaluation.runHere();
    } else {
        session.growBlocks(rows.time(0));
        evaluation.runOn(threads);
    }
}

// -------------------------------------------------------------------- //
// Output
// -------------------------------------------------------------------- //

/// A time without the last digits, in which it isn't exact.
std::string timeText(double seconds)
{
    constexpr double theDigits = 1e6;
    const double rounded = std::round(seconds * theDigits) / theDigits;
    return ZELTnumber(std::isfinite(rounded) ? rounded : seconds);
}

/// A field of a comma separated line (RFC 4180): a text without quotes of its own but where it needs them.
std::string csvField(const std::string &text)
{
    if (text.find_first_of("\",\n\r") == std::string::npos) {
        return text;
    }
    std::string out = "\"";
    for (const char c : text) {
        out += c == '"' ? "\"\"" : std::string(1, c);
    }
    return out + "\"";
}

std::string csvCell(const Column &column, const ZELT_Cell &cell, bool failedFlag)
{
    const auto *const text = std::get_if<std::string>(&cell);
    return failedFlag ? "" : csvField(text ? *text : ZELTwordText(*column.words, cell, false));
}

class Output
{
public:
    Output(const Table &table, const Columns &columns, const Rows &rows)
        : myTable(table), myColumns(columns), myRows(rows)
    {}

    /// A line for each parameter.
    void printParms() const
    {
        std::vector<std::vector<std::string>> text;
        for (std::size_t i = 0; i < myColumns.size(); ++i) {
            const std::string cell = ZELTwordText(*myColumns[i].words, myTable.cells[i], failed(i));
            if (i > 0 && isSameParm(myColumns[i - 1], myColumns[i])) {
                text.back().back() += ' ' + cell;
            } else {
                text.push_back({isAlone(i) ? myColumns[i].heading : myColumns[i].name, cell});
            }
        }
        std::cout << ZELTtable(text);
    }

    void printTable() const
    {
        std::vector<std::vector<std::string>> text{{"frame", "time"}};
        for (const Column &column : myColumns) {
            text[0].push_back(column.heading);
        }
        for (std::int64_t row = 0; row < myRows.count(); ++row) {
            std::vector<std::string> line{ZELTnumber(myRows.range.getFrame(row)),
                                          timeText(myRows.time(row))};
            for (std::size_t i = 0; i < myColumns.size(); ++i) {
                const std::size_t cell = cellOf(row, i);
                line.push_back(
                    ZELTwordText(*myColumns[i].words, myTable.cells[cell], failed(cell)));
            }
            text.push_back(std::move(line));
        }
        std::cout << ZELTtable(text);
    }

    /// With frames a line for each; else a line for each component.
    void printCsv() const
    {
        if (!myRows.framesFlag) {
            std::cout << "parameter,value\r\n";
            for (std::size_t i = 0; i < myColumns.size(); ++i) {
                std::cout << csvField(myColumns[i].heading) << ','
                          << csvCell(myColumns[i], myTable.cells[i], failed(i)) << "\r\n";
            }
            return;
        }
        std::cout << "frame,time";
        for (const Column &column : myColumns) {
            std::cout << ',' << csvField(column.heading);
        }
        std::cout << "\r\n";
        for (std::int64_t row = 0; row < myRows.count(); ++row) {
            std::cout << ZELTnumber(myRows.range.getFrame(row)) << ','
                      << timeText(myRows.time(row));
            for (std::size_t i = 0; i < myColumns.size(); ++i) {
                const std::size_t cell = cellOf(row, i);
                std::cout << ',' << csvCell(myColumns[i], myTable.cells[cell], failed(cell));
            }
            std::cout << "\r\n";
        }
    }

    void printJson() const
    {
        ZELT_Json out;
        out["columns"] = ZELT_Json::array();
        for (std::size_t i = 0; i < myColumns.size(); ++i) {
            out["columns"].push_back(columnJson(i));
        }
        out["rows"] = ZELT_Json::array();
        for (std::int64_t row = 0; row < myRows.count(); ++row) {
            out["rows"].push_back(rowJson(row));
        }
        ZELTprintJson(out);
    }

private:
    static bool isSameParm(const Column &a, const Column &b)
    {
        return a.name == b.name && a.place.first + 1 == b.place.first;
    }
    /// Whether it is one component of several.
    bool isAlone(std::size_t i) const
    {
        const bool nextFlag =
            i + 1 < myColumns.size() && isSameParm(myColumns[i], myColumns[i + 1]);
        return !nextFlag;
    }
    std::size_t cellOf(std::int64_t row, std::size_t column) const
    {
        return std::size_t(row) * myColumns.size() + column;
    }
    bool failed(std::size_t cell) const { return myTable.errors[cell] != EVL::EVL_OK; }

    ZELT_Json columnJson(std::size_t i) const
    {
        const Column &column = myColumns[i];
        ZELT_Json json;
        json["token"] = column.name;
        json["index"] = column.place.first;
        json["channel"] = column.heading;
        if (myTable.faults[i].row >= 0) {
            json["error"] = myTable.faults[i].text;
        }
        return json;
    }

    ZELT_Json rowJson(std::int64_t row) const
    {
        ZELT_Json json;
        if (myRows.framesFlag) {
            json["frame"] = myRows.range.getFrame(row);
        }
        json["time"] = myRows.time(row);
        json["values"] = ZELT_Json::array();
        bool failedFlag = false;
        ZELT_Json errors = ZELT_Json::array();
        for (std::size_t i = 0; i < myColumns.size(); ++i) {
            const std::size_t cell = cellOf(row, i);
            const std::string *const word = ZELTwordOf(*myColumns[i].words, myTable.cells[cell]);
            json["values"].push_back(word ? ZELT_Json(*word) : ZELTcellJson(myTable.cells[cell]));
            errors.push_back(myTable.errors[cell]);
            failedFlag = failedFlag || failed(cell);
        }
        if (failedFlag) {
            json["errors"] = std::move(errors);
        }
        return json;
    }

    const Table &myTable;
    const Columns &myColumns;
    const Rows &myRows;
};

bool reportFaults(const Table &table, const Columns &columns, const Rows &rows,
                  ZELT_Messages &messages)
{
    bool good = true;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const Fault &fault = table.faults[i];
        if (fault.row >= 0) {
            messages.add(KIT_ERROR_ABORT, "TRK", fault.error, "", 0,
                         columns[i].heading + " at time " + ZELTnumber(rows.time(fault.row)) +
                             ": " + fault.text);
            good = false;
        }
    }
    return good;
}

int threadCount(int asked)
{
    constexpr int most = 256;
    const int cores = std::max(1, int(std::thread::hardware_concurrency()));
    return asked == 0 ? cores : std::min(asked, most);
}

constexpr int theWrongCall = 2;

struct Call
{
    ZELT_NodeCall node;
    std::vector<std::string> addresses; ///< none: all parameters
    std::string frames;                 ///< "A:B" or "A:B:STEP"; empty: the node's time
    std::string format;                 ///< "" for what people read
    bool numbers = false;
    int threads = 1; ///< 0: as many as there are cores
};

void print(const Call &call, const ZELT_Options &options, const Output &output)
{
    if (options.json || call.format == "json") {
        output.printJson();
    } else if (call.format == "csv") {
        output.printCsv();
    } else if (call.frames.empty()) {
        output.printParms();
    } else {
        output.printTable();
    }
}

int evaluateNode(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    if (options.json && !call.format.empty() && call.format != "json") {
        messages.error("", "--json and --format " + call.format + " are two forms (see --help)");
        return theWrongCall;
    }
    Rows rows;
    rows.framesFlag = !call.frames.empty();
    const std::string fault = rows.framesFlag ? rows.range.read(call.frames) : "";
    if (!fault.empty()) {
        messages.error("", "--frames " + fault);
        return 1;
    }
    ZELT_NodeCall node = call.node;
    if (rows.framesFlag) {
        node.time = ZELTnumber(rows.range.first) + "f";
    }
    const std::unique_ptr<ZELT_Session> session = ZELT_Session::open(node, messages);
    Columns columns;
    if (!session || !findColumns(*session, call.addresses, call.numbers, columns, messages)) {
        return 1;
    }
    rows.now = session->getTime();
    Table table;
    evaluate(*session, columns, rows, threadCount(call.threads), table);
    print(call, options, Output(table, columns, rows));
    return reportFaults(table, columns, rows, messages) ? 0 : 1;
}

} // namespace

void ZELTaddEval(ZELT_CommandLine &line)
{
    const auto [command, call] = line.add(
        "eval", "Evaluate parameters",
        "zel eval examples/transform.ds t --channels examples/transform.chan --frames 1:48:12",
        evaluateNode);
    ZELTaddNode(command, call.node);
    line.addOutput(command);
    command.addOption("ADDRESS", call.addresses,
                      "TOKEN[:INDEX], a channel, or a pattern; all without one");
    command.addOption("--frames", call.frames, "A:B or A:B:STEP, a row for each frame");
    command.addOption("--format", call.format, "table, csv or json")
        .oneOf({"table", "csv", "json"});
    command.addFlag("--numbers", call.numbers, "Numbers, not tokens, for menus and toggles");
    command.addOption("--threads", call.threads, "Threads; 0 for one a core").within(0, 256);
}
