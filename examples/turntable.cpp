// A turning model: declares a transform node, links a channel file to it, evaluates 240 frames on
// all cores and shows which notifications a few edits send to the application.
//
//     turntable [--all] [--golden] [FILE]
//
// FILE is a channel file, examples/turntable.chan unless given. --all prints every frame instead of
// each 24th; --golden leaves out the last line, which differs by machine. Exit 1 if the file or an
// expression in it is wrong, 2 for wrong arguments.

#include <NOD/NOD_Node.h>

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IFStream.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_Default.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Range.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_Type.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

namespace
{

constexpr int theFrameCount = 240;
constexpr int theExcerptStep = 24;
constexpr int theMeasuredPasses = 50;

// ---------------------------------------------------------------------- //
// The interface of the two node types
// ---------------------------------------------------------------------- //

ZEL_Name theNames[] = {ZEL_Name("t", "Translate"),    ZEL_Name("r", "Rotate"),
                       ZEL_Name("s", "Scale"),        ZEL_Name("scale", "Uniform Scale"),
                       ZEL_Name("copies", "Copies"),  ZEL_Name("spin", "Spin"),
                       ZEL_Name("quality", "Quality")};
ZEL_Default theOnes[] = {ZEL_Default(1.0), ZEL_Default(1.0), ZEL_Default(1.0)};
ZEL_Default theHalf[] = {ZEL_Default(0.5)};
ZEL_Range theScaleRange(ZEL_RANGE_HARD, 0.1, ZEL_RANGE_HARD, 10.0);
ZEL_Range theCopiesRange(ZEL_RANGE_HARD, 1.0, ZEL_RANGE_UI, 20.0);

ZEL_Template theModelTemplates[] = {
    ZEL_Template(ZEL_XYZ, 3, &theNames[0]),
    ZEL_Template(ZEL_ANGLEXYZ, 3, &theNames[1]),
    ZEL_Template(ZEL_XYZ, 3, &theNames[2], theOnes),
    ZEL_Template(ZEL_FLT, 1, &theNames[3], theOnes, nullptr, &theScaleRange),
    ZEL_Template(ZEL_INT, 1, &theNames[4], theOnes, nullptr, &theCopiesRange),
    ZEL_Template(ZEL_ANGLE, 1, &theNames[5]),
    ZEL_Template(ZEL_FLT_E, 1, &theNames[6], theHalf),
    ZEL_Template()};

ZEL_Name theHeightName("height", "Height");
ZEL_Template theRigTemplates[] = {ZEL_Template(ZEL_FLT, 1, &theHeightName, theHalf),
                                  ZEL_Template()};

// ---------------------------------------------------------------------- //
// Evaluating a table of all frames
// ---------------------------------------------------------------------- //

/// One component of one parameter.
struct Column
{
    const ZEL_Parm *parm;
    int index;
};

/// The first frame in which a column's expression failed; 0 for none.
struct Fault
{
    int frame = 0;
    int error = EVL::EVL_OK;
};

struct Table
{
    std::vector<double> values; ///< frame by frame
    std::vector<Fault> faults;  ///< one for each column

    double at(int frame, std::size_t column) const
    {
        return values[std::size_t(frame - 1) * faults.size() + column];
    }
    bool hasSameBits(const Table &other) const
    {
        return values.size() == other.values.size() &&
               std::memcmp(values.data(), other.values.data(), values.size() * sizeof(double)) == 0;
    }
};

std::vector<Column> makeColumns(const ZEL_ParmList &parms)
{
    std::vector<Column> columns;
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm *parm = parms.getParmPtr(i);
        for (int index = 0; index < parm->getVectorSize(); ++index) {
            columns.push_back({parm, index});
        }
    }
    return columns;
}

/// Evaluates the frames `first` up to, not including, `end` into their rows.
void evaluateFrames(const std::vector<Column> &columns, int first, int end, double *values,
                    std::vector<Fault> &faults)
{
    const int thread = BASgetSTID();
    double *value = values + std::size_t(first - 1) * columns.size();
    for (int frame = first; frame < end; ++frame) {
        const double time = TRK_Manager::getContext().frameToTime(frame);
        for (std::size_t i = 0; i < columns.size(); ++i) {
            EVL::theErrNo[thread] = EVL::EVL_OK;
            columns[i].parm->getValue(time, *value++, columns[i].index, thread);
            if (EVL::theErrNo[thread] != EVL::EVL_OK && faults[i].frame == 0) {
                faults[i] = {frame, EVL::theErrNo[thread]};
            }
        }
    }
    EVL::theErrNo[thread] = EVL::EVL_OK;
}

/// Each thread takes one run of frames.
Table evaluate(const std::vector<Column> &columns, int threads)
{
    Table table;
    table.values.resize(std::size_t(theFrameCount) * columns.size());
    table.faults.resize(columns.size());
    std::vector<std::vector<Fault>> faults(std::size_t(threads),
                                           std::vector<Fault>(columns.size()));
    std::vector<std::thread> workers;
    for (int i = 0; i < threads; ++i) {
        workers.emplace_back([&columns, &table, &faults, threads, i] {
            evaluateFrames(columns, 1 + theFrameCount * i / threads,
                           1 + theFrameCount * (i + 1) / threads, table.values.data(),
                           faults[std::size_t(i)]);
        });
    }
    for (std::thread &worker : workers) {
        worker.join();
    }
    for (std::size_t column = 0; column < columns.size(); ++column) {
        for (const std::vector<Fault> &some : faults) {
            if (table.faults[column].frame == 0) {
                table.faults[column] = some[column];
            }
        }
    }
    return table;
}

double measure(const std::vector<Column> &columns, int threads)
{
    const auto start = std::chrono::steady_clock::now();
    for (int pass = 0; pass < theMeasuredPasses; ++pass) {
        evaluate(columns, threads);
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    return theMeasuredPasses * theFrameCount * double(columns.size()) / seconds.count();
}

// ---------------------------------------------------------------------- //
// Printing
// ---------------------------------------------------------------------- //

void printFrame(const Table &table, const std::vector<Column> &columns, int frame)
{
    std::cout << "frame " << frame;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        KIT_WorkBuffer text;
        if (columns[i].index == 0) {
            text.append('\n');
            text.append("  ");
            text.append(columns[i].parm->getToken());
            text.appendRepeated(' ', 11 - std::int64_t(text.length()));
        } else {
            text.append(' ');
        }
        text.appendNumber(table.at(frame, i));
        std::cout << text.buffer();
    }
    std::cout << '\n';
}

void printTable(const Table &table, const std::vector<Column> &columns, bool all)
{
    for (int frame = 1; frame <= theFrameCount; ++frame) {
        if (all || (frame - 1) % theExcerptStep == 0) {
            printFrame(table, columns, frame);
        }
    }
}

const char *getChangeName(TRK_CHANGE_TYPE type)
{
    switch (type) {
    case TRK_CHANGE_VALUE: return "VALUE";
    case TRK_CHANGE_ENABLE: return "ENABLE";
    case TRK_CHANGE_VISIBLE: return "VISIBLE";
    case TRK_CHANGE_LOCK: return "LOCK";
    }
    return "UNKNOWN";
}

void printEvent(NOD_Node &node, TRK_CHANGE_TYPE type, int parmIndex)
{
    const ZEL_Parm *parm = node.getParms().getParmPtr(parmIndex);
    std::cout << "  event " << getChangeName(type) << ' ' << (parm ? parm->getToken() : "none")
              << ' ' << parmIndex << '\n';
}

/// Writes what the thread's error manager holds to standard error; true if it held an error.
bool reportErrors()
{
    KIT_ErrorManager &manager = KITgetErrorManager();
    KIT_String messages;
    const bool failed = manager.getSeverity() >= KIT_ERROR_ABORT;
    if (manager.getErrorMessages(messages) > 0) {
        std::cerr << messages.nonNullStr();
    }
    manager.clearAndDestroyErrors();
    return failed;
}

bool reportFaults(const Table &table, const std::vector<Column> &columns, const NOD_Node &node)
{
    const int thread = BASgetSTID();
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const Fault &fault = table.faults[i];
        if (fault.frame != 0) {
            const std::string place = std::string(node.getFullPath().c_str()) + "/" +
                                      columns[i].parm->getChannelToken(columns[i].index).c_str() +
                                      " at frame " + std::to_string(fault.frame);
            TRK_Manager::getContext().evaluationError(fault.error, thread, place.c_str());
        }
    }
    return reportErrors();
}

// ---------------------------------------------------------------------- //
// Edits and their events
// ---------------------------------------------------------------------- //

/// What an interface would do, and what the application is notified of.
struct Edit
{
    const char *text;
    void (*make)(ZEL_ParmList &parms);
};

constexpr bool thePropagate = true;

const Edit theEdits[] = {
    {"set quality to 0.75",
     [](ZEL_ParmList &parms) { parms.setFloat(0.75, "quality", 0, 0.0, thePropagate); }},
    {"set the y of s to 2",
     [](ZEL_ParmList &parms) { parms.setFloat(2.0, "s", 1, 0.0, thePropagate); }},
    {"lock t", [](ZEL_ParmList &parms) { parms.getParmPtr("t")->setLockedFlag(-1, true); }},
    {"set the x of t to 5, locked",
     [](ZEL_ParmList &parms) { parms.setFloat(5.0, "t", 0, 0.0, thePropagate); }},
    {"disable copies",
     [](ZEL_ParmList &parms) { parms.getParmPtr("copies")->setEnableState(0, 0); }},
    {"hide spin", [](ZEL_ParmList &parms) { parms.getParmPtr("spin")->setVisibleState(false, 0); }},
    {"hide spin again",
     [](ZEL_ParmList &parms) { parms.getParmPtr("spin")->setVisibleState(false, 0); }},
    {"set scale to 50, of which 10 is the most", [](ZEL_ParmList &parms) {
         parms.getParmPtr("scale")->removeChannel(0);
         parms.setFloat(50.0, "scale", 0, 0.0, thePropagate);
     }}};

void makeEdits(NOD_Node &node)
{
    node.setChangeCallback(printEvent);
    for (const Edit &edit : theEdits) {
        std::cout << "edit: " << edit.text << '\n';
        edit.make(node.getParms());
    }
    KIT_WorkBuffer scale;
    scale.appendNumber(node.getParms().evalFloat("scale", 0, 0.0));
    std::cout << "scale is now " << scale.buffer() << '\n';
}

// ---------------------------------------------------------------------- //
// The program
// ---------------------------------------------------------------------- //

struct Options
{
    bool all = false;
    bool golden = false;
    std::string file = "examples/turntable.chan";
};

bool parseOptions(int argc, char **argv, Options &options)
{
    bool gotFile = false;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--all") {
            options.all = true;
        } else if (word == "--golden") {
            options.golden = true;
        } else if (!word.empty() && word[0] != '-' && !gotFile) {
            options.file = word;
            gotFile = true;
        } else {
            return false;
        }
    }
    return true;
}

bool loadChannels(NOD_Node &node, const std::string &file)
{
    errno = 0;
    KIT_IFStream is(file.c_str());
    if (!is.isReadable()) {
        std::cerr << "turntable: can't read " << file
                  << (errno ? std::string(": ") + std::strerror(errno) : std::string()) << '\n';
        return false;
    }
    const bool loaded = node.loadChannels(is);
    if (reportErrors() || !loaded) {
        std::cerr << "turntable: " << file << " is at fault\n";
        return false;
    }
    return true;
}

int run(const Options &options)
{
    NOD_Node root;
    NOD_Node *scene = root.addChild("obj");
    NOD_Node *rig = scene->addChild("rig", theRigTemplates, "rig");
    NOD_Node *model = scene->addChild("model", theModelTemplates, "model");
    rig->getParms().setFloat(1.5, "height", 0, 0.0, thePropagate);
    if (!loadChannels(*model, options.file)) {
        return 1;
    }

    const std::vector<Column> columns = makeColumns(model->getParms());
    const int cores = std::max(1, int(std::thread::hardware_concurrency()));
    const Table table = evaluate(columns, 1);
    if (reportFaults(table, columns, *model)) {
        return 1;
    }
    for (int threads : {2, cores}) {
        if (!evaluate(columns, threads).hasSameBits(table)) {
            std::cerr << "turntable: " << threads << " threads give another table than one\n";
            return 1;
        }
    }
    printTable(table, columns, options.all);
    std::cout << "the same on every number of threads\n";
    const double rate = options.golden ? 0.0 : measure(columns, cores);
    makeEdits(*model);
    if (!options.golden) {
        std::cout << std::int64_t(rate) << " evaluations a second on " << cores << " threads\n";
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    Options options;
    if (!parseOptions(argc, argv, options)) {
        std::cerr << "usage: turntable [--all] [--golden] [FILE]\n";
        return 2;
    }
    return run(options);
}
