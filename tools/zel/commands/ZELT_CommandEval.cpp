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
#include <NOD/NOD_Address.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_TimeText.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <iostream>
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
    NOD_FrameRange range;    ///< of one frame without
    double now = 0.0;        ///< the time without frames

    double frame(std::int64_t row) const { return range.getFrame(row); }
    double time(std::int64_t row) const { return framesFlag ? range.getTime(row) : now; }
};

// -------------------------------------------------------------------- //
// Columns: components
// -------------------------------------------------------------------- //

/// A component by the name of its parameter, which the item of a block may lose while it evaluates.
struct Column
{
    std::string token;
    KIT_StringHolder key;
    int index;
    std::string heading;
};

using Columns = std::vector<Column>;

void addColumns(const NOD_Place &place, Columns &columns)
{
    const ZEL_Parm &parm = *place.find();
    for (int i = place.first; i < place.end; ++i) {
        columns.push_back(
            {parm.getToken(), place.token, i,
             parm.getVectorSize() > 1 ? parm.getChannelToken(i).nonNullStr() : parm.getToken()});
    }
}

bool findColumns(ZELT_Session &session, const std::vector<std::string> &addresses, Columns &columns,
                 ZELT_Messages &messages)
{
    NOD_Report report;
    std::vector<NOD_Place> places =
        addresses.empty() ? NODallPlaces(session.getNode()) : std::vector<NOD_Place>();
    for (const std::string &address : addresses) {
        const std::vector<NOD_Place> found = NODfindPlaces(session.getNode(), address, report);
        places.insert(places.end(), found.begin(), found.end());
    }
    for (const NOD_Place &place : places) {
        addColumns(place, columns);
    }
    messages.add(report);
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
          myProgress("evaluating", rows.range.count)
    {
        table.cells.resize(std::size_t(rows.range.count) * columns.size());
        table.errors.resize(table.cells.size());
        table.faults.resize(columns.size());
    }

    /// On the thread that owns the list, where reading a block's count may make or remove items.
    void runHere()
    {
        for (std::int64_t row = 0; row < myRows.range.count; ++row) {
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
        for (std::int64_t row = myNext.fetch_add(run); row < myRows.range.count;
             row = myNext.fetch_add(run)) {
            const std::int64_t end = std::min(row + run, myRows.range.count);
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
        const ZEL_ParmList &parms = mySession.getParms();
        std::size_t cell = std::size_t(row) * myColumns.size();
        for (std::size_t i = 0; i < myColumns.size(); ++i, ++cell) {
            const ZEL_Parm *const parm = parms.getParmPtr(myColumns[i].key);
            if (parm) {
                ZELT_EvaluationErrors errors(thread);
                myTable.cells[cell] = ZELTevaluate(*parm, myColumns[i].index, time, thread);
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
bool hasAnimatedBlock(ZEL_ParmList &parms)
{
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm *const parm = parms.getParmPtr(i);
        if (parm->isMultiParm() && parm->isTimeDependent(0)) {
            return true;
        }
    }
    return false;
}

void evaluate(ZELT_Session &session, const Columns &columns, const Rows &rows, int threads,
              Table &table)
{
    Evaluation evaluation(session, columns, rows, table);
    if (threads == 1 || hasAnimatedBlock(session.getParms())) {
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

void printTable(const Table &table, const Columns &columns, const Rows &rows)
{
    std::vector<std::vector<std::string>> text(1);
    if (rows.framesFlag) {
        text[0].push_back("frame");
    }
    text[0].push_back("time");
    for (const Column &column : columns) {
        text[0].push_back(column.heading);
    }
    for (std::int64_t row = 0; row < rows.range.count; ++row) {
        std::vector<std::string> line;
        if (rows.framesFlag) {
            line.push_back(ZELTnumber(rows.frame(row)));
        }
        line.push_back(ZELTnumber(rows.time(row)));
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const std::size_t cell = std::size_t(row) * columns.size() + i;
            line.push_back(ZELTcellText(table.cells[cell], table.errors[cell] != EVL::EVL_OK));
        }
        text.push_back(std::move(line));
    }
    std::cout << ZELTtable(text);
}

void printJson(const Table &table, const Columns &columns, const Rows &rows)
{
    ZELT_Json out;
    out["columns"] = ZELT_Json::array();
    for (std::size_t i = 0; i < columns.size(); ++i) {
        ZELT_Json json;
        json["token"] = columns[i].token;
        json["index"] = columns[i].index;
        json["channel"] = columns[i].heading;
        if (table.faults[i].row >= 0) {
            json["error"] = table.faults[i].text;
        }
        out["columns"].push_back(json);
    }
    out["rows"] = ZELT_Json::array();
    std::size_t cell = 0;
    for (std::int64_t row = 0; row < rows.range.count; ++row) {
        ZELT_Json json;
        if (rows.framesFlag) {
            json["frame"] = rows.frame(row);
        }
        json["time"] = rows.time(row);
        json["values"] = ZELT_Json::array();
        bool failed = false;
        ZELT_Json errors = ZELT_Json::array();
        for (std::size_t i = 0; i < columns.size(); ++i, ++cell) {
            json["values"].push_back(ZELTcellJson(table.cells[cell]));
            errors.push_back(table.errors[cell]);
            failed = failed || table.errors[cell] != EVL::EVL_OK;
        }
        if (failed) {
            json["errors"] = std::move(errors);
        }
        out["rows"].push_back(std::move(json));
    }
    ZELTprintJson(out);
}

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

struct Call
{
    ZELT_NodeCall node;
    std::vector<std::string> tokens; ///< addresses; none: all parameters
    std::string frames;              ///< "A:B" or "A:B:STEP"; empty: the node's time
    int threads = 1;                 ///< 0: as many as there are cores
};

int evaluateNode(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    Rows rows;
    rows.now = call.node.time;
    rows.framesFlag = !call.frames.empty();
    const std::string fault = rows.framesFlag ? rows.range.read(call.frames) : "";
    if (!fault.empty()) {
        messages.error("", "--frames " + fault);
        return 1;
    }
    ZELT_NodeCall node = call.node;
    node.time = rows.time(0);
    const std::unique_ptr<ZELT_Session> session = ZELT_Session::open(node, messages);
    Columns columns;
    if (!session || !findColumns(*session, call.tokens, columns, messages)) {
        return 1;
    }
    Table table;
    evaluate(*session, columns, rows, threadCount(call.threads), table);
    if (options.json) {
        printJson(table, columns, rows);
    } else {
        printTable(table, columns, rows);
    }
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
    command.add_option("TOKEN", call.tokens, "TOKEN[:INDEX] or a channel; all without one");
    command.add_option("--frames", call.frames, "A:B or A:B:STEP, a row for each frame");
    command.add_option("--threads", call.threads, "Threads; 0 for one a core")
        ->check(CLI::Range(0, 256));
}
