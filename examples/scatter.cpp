// Saving and loading: a node with growing, nested blocks of parameters is saved in both forms and
// loaded again; then two streams from disk, one of them of an older version of the node.
//
//     scatter [--write FOLDER]
//
// --write writes the two saved streams of examples/ into that folder. Exit 1 if a stream is malformed
// or what is loaded differs from what was saved, 2 for wrong arguments.

#include <NOD/NOD_Node.h>

#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IFStream.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_Default.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Range.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_Type.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

namespace
{

// ---------------------------------------------------------------------- //
// The interface of the node: two levels of blocks
// ---------------------------------------------------------------------- //

ZEL_Default theOne[] = {ZEL_Default(1.0)};
ZEL_Default theWhite[] = {ZEL_Default(1.0), ZEL_Default(1.0), ZEL_Default(1.0)};
ZEL_Range theDensityRange(ZEL_RANGE_HARD, 0.0, ZEL_RANGE_UI, 100.0);

ZEL_Name theVariantNames[] = {ZEL_Name("size#_#", "Size #"), ZEL_Name("tint#_#", "Tint #")};
ZEL_Template theVariantTemplates[] = {ZEL_Template(ZEL_FLT, 1, &theVariantNames[0], theOne),
                                      ZEL_Template(ZEL_RGB, 3, &theVariantNames[1], theWhite),
                                      ZEL_Template()};

ZEL_Name theGroupNames[] = {ZEL_Name("weight#", "Weight #"), ZEL_Name("offset#", "Offset #"),
                            ZEL_Name("variants#", "Variants #")};
ZEL_Template theGroupTemplates[] = {
    ZEL_Template(ZEL_FLT, 1, &theGroupNames[0], theOne),
    ZEL_Template(ZEL_XYZ, 3, &theGroupNames[1]),
    ZEL_Template(ZEL_MULTITYPE_LIST, theVariantTemplates, 1.0, &theGroupNames[2]), ZEL_Template()};

ZEL_Name theNames[] = {ZEL_Name("seed", "Seed"), ZEL_Name("density", "Density"),
                       ZEL_Name("t", "Translate"), ZEL_Name("groups", "Groups")};
ZEL_Template theTemplates[] = {
    ZEL_Template(ZEL_INT, 1, &theNames[0]),
    ZEL_Template(ZEL_FLT, 1, &theNames[1], theOne, nullptr, &theDensityRange),
    ZEL_Template(ZEL_XYZ, 3, &theNames[2]),
    ZEL_Template(ZEL_MULTITYPE_LIST, theGroupTemplates, 1.0, &theNames[3]), ZEL_Template()};

/// What the older version had and this one hasn't: a load makes it a spare parameter.
ZEL_Name theJitterName("jitter", "Jitter");
ZEL_Template theOldTemplates[] = {ZEL_Template(ZEL_XYZ, 3, &theJitterName), ZEL_Template()};

/// A node of the type in a tree of its own.
struct Scatter
{
    NOD_Node root;
    NOD_Node *node = root.addChild("scatter", theTemplates, "scatter");

    Scatter()
    {
        node->addRename("seedvalue", "seed");
        node->setSpareTemplates(theOldTemplates);
        node->setKeepUnknownNames(true);
    }
    ZEL_ParmList &parms() { return node->getParms(); }
};

void fill(ZEL_ParmList &parms)
{
    constexpr bool propagate = true;
    parms.setInt(7, "seed", 0, 0.0, propagate);
    parms.setFloat(12.5, "density", 0, 0.0, propagate);
    parms.setInt(2, "groups", 0, 0.0, propagate);
    parms.setInt(2, "variants1", 0, 0.0, propagate);
    parms.setInt(1, "variants2", 0, 0.0, propagate);
    parms.setFloat(0.75, "weight1", 0, 0.0, propagate);
    parms.setFloat(0.25, "weight2", 0, 0.0, propagate);
    parms.setFloat(-1.5, "offset2", 1, 0.0, propagate);
    parms.setFloat(1.0 / 3.0, "size1_2", 0, 0.0, propagate);
    parms.setFloat(0.5, "tint1_2", 2, 0.0, propagate);
    // The first group makes room for a new one: the values move up by one.
    parms.insertMultiParmItem(parms.getParmIndex("groups"), 0);
}

// ---------------------------------------------------------------------- //
// Streams
// ---------------------------------------------------------------------- //

std::string save(ZEL_ParmList &parms, bool binary)
{
    constexpr bool compact = false;
    std::ostringstream os;
    parms.save(os, binary, compact);
    return os.str();
}

/// Writes what the thread's error manager holds to standard output; true if it held an error.
bool reportErrors()
{
    KIT_ErrorManager &manager = KITgetErrorManager();
    KIT_String messages;
    const bool failed = manager.getSeverity() >= KIT_ERROR_ABORT;
    if (manager.getErrorMessages(messages) > 0) {
        std::cout << messages.nonNullStr();
    }
    manager.clearAndDestroyErrors();
    return failed;
}

bool load(ZEL_ParmList &parms, KIT_IStream &is, const char *name)
{
    const bool loaded = parms.load(is, name, nullptr);
    const bool failed = reportErrors();
    return loaded && !failed;
}

bool loadFile(ZEL_ParmList &parms, const std::string &file, KIT_IStream::Mode mode)
{
    errno = 0;
    KIT_IFStream is(file.c_str(), mode);
    if (!is.isReadable()) {
        std::cerr << "scatter: can't read " << file << ": " << std::strerror(errno) << '\n';
        return false;
    }
    if (!load(parms, is, file.c_str())) {
        std::cerr << "scatter: " << file << " is at fault\n";
        return false;
    }
    return true;
}

bool writeFile(const std::string &file, const std::string &bytes)
{
    std::ofstream os(file, std::ios::binary);
    os << bytes;
    os.close();
    if (!os) {
        std::cerr << "scatter: can't write " << file << ": " << std::strerror(errno) << '\n';
    }
    return bool(os);
}

// ---------------------------------------------------------------------- //
// The program
// ---------------------------------------------------------------------- //

void print(const ZEL_ParmList &parms)
{
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm *parm = parms.getParmPtr(i);
        KIT_WorkBuffer text;
        text.append("  ");
        text.append(parm->getToken());
        for (int index = 0; index < parm->getVectorSize(); ++index) {
            text.append(' ');
            text.appendNumber(parms.evalFloat(parm->getToken(), index, 0.0));
        }
        std::cout << text.buffer() << (parm->isSpareParm() ? "  (spare)\n" : "\n");
    }
}

/// Through a stream in memory into a fresh node, and out again.
bool comesBack(ZEL_ParmList &parms, bool binary)
{
    const std::string saved = save(parms, binary);
    Scatter fresh;
    KIT_IStream is(saved.data(), saved.size(), binary ? KIT_IStream::BINARY : KIT_IStream::TEXT);
    if (!load(fresh.parms(), is, "memory")) {
        return false;
    }
    const bool same = save(fresh.parms(), binary) == saved &&
                      save(fresh.parms(), !binary) == save(parms, !binary);
    std::cout << (binary ? "binary" : "text") << ": " << saved.size() << " bytes, "
              << fresh.parms().getEntries() << " parameters, "
              << (same ? "nothing changed" : "CHANGED") << '\n';
    return same;
}

bool showSaved(const std::string &text, const std::string &binary)
{
    Scatter fromText;
    Scatter fromBinary;
    if (!loadFile(fromText.parms(), text, KIT_IStream::TEXT) ||
        !loadFile(fromBinary.parms(), binary, KIT_IStream::BINARY)) {
        return false;
    }
    const bool same = save(fromText.parms(), false) == save(fromBinary.parms(), false);
    std::cout << text << (same ? " and " : " DIFFERS from ") << binary << '\n';
    print(fromText.parms());
    return same;
}

int run()
{
    Scatter scatter;
    fill(scatter.parms());
    if (!comesBack(scatter.parms(), false) || !comesBack(scatter.parms(), true)) {
        return 1;
    }
    if (!showSaved("examples/scatter.parms", "examples/scatter.bparms")) {
        return 1;
    }
    Scatter older;
    std::cout << "examples/scatter_v1.parms, of an older version\n";
    if (!loadFile(older.parms(), "examples/scatter_v1.parms", KIT_IStream::TEXT)) {
        return 1;
    }
    print(older.parms());
    return 0;
}

int writeStreams(const std::string &folder)
{
    Scatter scatter;
    fill(scatter.parms());
    return writeFile(folder + "/scatter.parms", save(scatter.parms(), false)) &&
                   writeFile(folder + "/scatter.bparms", save(scatter.parms(), true))
               ? 0
               : 1;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 3 && std::string(argv[1]) == "--write") {
        return writeStreams(argv[2]);
    }
    if (argc != 1) {
        std::cerr << "usage: scatter [--write FOLDER]\n";
        return 2;
    }
    return run();
}
