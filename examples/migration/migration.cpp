// From one version of a node's interface to the next: a stream that the first version saved is loaded
// into a node of the present one, and a live node gets the present interface and keeps its values.
//
//     migration
//
// Prints what was carried over and reports the rest. Exit 1 if a file is malformed or can't be read.

#include <NOD/NOD_Node.h>

#include <BAS/BAS_Thread.h>
#include <DS/DS_Stream.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IFStream.h>
#include <KIT/KIT_String.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ScriptImports.h>
#include <ZEL/ZEL_ScriptPage.h>
#include <ZEL/ZEL_Template.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>

namespace
{

// ---------------------------------------------------------------------- //
// Files
// ---------------------------------------------------------------------- //

/// A script's templates, with all that they point to.
class Interface
{
public:
    /// False, with a message on standard error, if the file is malformed or can't be read.
    bool read(const std::string &file)
    {
        errno = 0;
        KIT_IFStream is(file.c_str());
        if (!is.isReadable()) {
            std::cerr << "migration: can't read " << file << ": " << std::strerror(errno) << '\n';
            return false;
        }
        constexpr bool reduced = false;
        constexpr bool wantBrace = true;
        constexpr bool isImport = false;
        constexpr bool clearJoin = true;
        DS_Stream stream(is, file.c_str(), reduced);
        if (!myPage.parse(stream, wantBrace, nullptr, isImport, clearJoin, 0)) {
            std::cerr << "migration: " << file << " is at fault\n";
            return false;
        }
        myTemplates.reset(new ZEL_Template[std::uint32_t(myPage.computeTemplateSize()) + 1]);
        int index = 0;
        ZEL_ScriptImports *imports = nullptr;
        myPage.fillTemplate(myTemplates.get(), index, imports);
        myImports.reset(imports);
        return true;
    }
    ZEL_Template *templates() { return myTemplates.get(); }

private:
    ZEL_ScriptPage myPage;
    std::unique_ptr<ZEL_ScriptImports> myImports;
    std::unique_ptr<ZEL_Template[]> myTemplates;
};

/// Names that the node has no place for are reported and skipped; only a broken stream is an error.
bool load(NOD_Node &node, const std::string &file)
{
    errno = 0;
    KIT_IFStream is(file.c_str());
    if (!is.isReadable()) {
        std::cerr << "migration: can't read " << file << ": " << std::strerror(errno) << '\n';
        return false;
    }
    node.getParms().load(is, file.c_str(), nullptr);
    KIT_ErrorManager &manager = KITgetErrorManager();
    const bool failed = manager.getSeverity() >= KIT_ERROR_ABORT;
    KIT_String messages;
    if (manager.getErrorMessages(messages) > 0) {
        std::cout << messages.nonNullStr();
    }
    manager.clearAndDestroyErrors();
    return !failed;
}

// ---------------------------------------------------------------------- //
// The program
// ---------------------------------------------------------------------- //

void print(const char *title, const NOD_Node &node, double time)
{
    std::cout << title << '\n';
    const ZEL_ParmList &parms = node.getParms();
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        std::cout << "  " << parm.getToken();
        for (int k = 0; k < parm.getVectorSize(); ++k) {
            constexpr bool expand = true;
            KIT_String text;
            parm.getValue(time, text, k, expand, BASgetSTID());
            std::cout << (parm.getType().isStringType() ? " \"" : " ") << text.nonNullStr()
                      << (parm.getType().isStringType() ? "\"" : "");
        }
        std::cout << (parm.isSpareParm() ? "  (spare)\n" : "\n");
    }
}

int run()
{
    const std::string folder = "examples/migration/";
    constexpr double oneSecond = 1.0;
    Interface first, present;
    if (!first.read(folder + "emitter_v1.ds") || !present.read(folder + "emitter.ds")) {
        return 1;
    }
    NOD_Node root;

    // A saved stream: old names are mapped, unknown ones are reported.
    NOD_Node &loaded = *root.addChild("loaded", present.templates());
    loaded.addRename("birthrate", "rate");
    if (!load(loaded, folder + "emitter_v1.parms")) {
        return 1;
    }
    print("emitter_v1.parms in a node of the present version", loaded, oneSecond);

    // The same, but a note is kept as a spare parameter.
    NOD_Node &keeping = *root.addChild("keeping", present.templates());
    keeping.addRename("birthrate", "rate");
    keeping.setSpareTemplates(first.templates());
    if (!load(keeping, folder + "emitter_v1.parms")) {
        return 1;
    }
    print("with what is gone kept as spare parameters", keeping, oneSecond);

    // A live node: its list is rebuilt and keeps its values.
    NOD_Node &living = *root.addChild("living", first.templates());
    if (!load(living, folder + "emitter_v1.parms")) {
        return 1;
    }
    constexpr bool evaluate = false, freshChannel = true, propagate = true;
    living.getParms().getParmPtr("vel")->setExpression(0.0, "$T * 2", TRK_LANGUAGE_NATIVE, 2,
                                                       evaluate, freshChannel, propagate);
    print("a node of the first version, animated, at one second", living, oneSecond);
    living.renewParms(present.templates());
    print("and with the present interface", living, oneSecond);
    return 0;
}

} // namespace

int main(int argc, char **)
{
    if (argc != 1) {
        std::cerr << "usage: migration\n";
        return 2;
    }
    return run();
}
