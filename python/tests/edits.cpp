// Makes a scene of the edits on standard input, as an application would in C++, and saves it: `edits SCRIPT OUT`. What
// the Python tests do with the same edits must give the same bytes. A line is a word, then fields between tabs.
#include <BAS/BAS_Thread.h>
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_SceneFile.h>
#include <NOD/NOD_UndoStack.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace
{

struct Player
{
    NOD_Scene scene;
    std::shared_ptr<const NOD_Interface> interface;
    NOD_Report report;
    std::vector<std::string> fields;

    NOD_Node &node(std::size_t field = 0) { return *scene.find(fields[field].c_str()); }
    const std::string &text(std::size_t field) { return fields[field]; }
    double number(std::size_t field) { return std::strtod(fields[field].c_str(), nullptr); }
    int whole(std::size_t field) { return int(number(field)); }
    /// One edit of a node: a step, or part of the open block.
    template <class Work>
    void edit(const Work &work)
    {
        NOD_Edit changes(node(), "Edit");
        work(changes, node());
    }
};

const std::map<std::string, std::function<void(Player &)>> theEdits = {
    {"add", [](Player &p) { p.scene.add(p.text(0), p.interface, p.report); }},
    {"remove", [](Player &p) { p.scene.remove(p.node(), p.report); }},
    {"rename", [](Player &p) { p.scene.rename(p.node(), p.text(1), p.report); }},
    {"copy", [](Player &p) { p.scene.copy(p.node(), *p.node().getParent(), p.text(1), p.report); }},
    {"set",
     [](Player &p) {
         p.edit([&](NOD_Edit &e, NOD_Node &n) { e.set(n, p.text(1), p.number(2)); });
     }},
    {"setint",
     [](Player &p) { p.edit([&](NOD_Edit &e, NOD_Node &n) { e.set(n, p.text(1), p.whole(2)); }); }},
    {"settext",
     [](Player &p) { p.edit([&](NOD_Edit &e, NOD_Node &n) { e.set(n, p.text(1), p.text(2)); }); }},
    {"setvector",
     [](Player &p) {
         p.edit([&](NOD_Edit &e, NOD_Node &n) {
             e.set(n, p.text(1), {p.number(2), p.number(3), p.number(4)});
         });
     }},
    {"key",
     [](Player &p) {
         p.edit([&](NOD_Edit &e, NOD_Node &n) { e.key(n, p.text(1), p.number(2), p.number(3)); });
     }},
    {"expression",
     [](Player &p) {
         p.edit([&](NOD_Edit &e, NOD_Node &n) { e.expression(n, p.text(1), p.text(2)); });
     }},
    {"constant",
     [](Player &p) { p.edit([&](NOD_Edit &e, NOD_Node &n) { e.removeChannel(n, p.text(1)); }); }},
    {"revert",
     [](Player &p) { p.edit([&](NOD_Edit &e, NOD_Node &n) { e.revert(n, p.text(1)); }); }},
    {"lock",
     [](Player &p) {
         p.edit([&](NOD_Edit &e, NOD_Node &n) { e.lock(n, p.text(1), p.whole(2) != 0); });
     }},
    {"insert",
     [](Player &p) {
         p.edit([&](NOD_Edit &e, NOD_Node &n) { e.insertItem(n, p.text(1), p.whole(2)); });
     }},
    {"take",
     [](Player &p) {
         p.edit([&](NOD_Edit &e, NOD_Node &n) { e.removeItem(n, p.text(1), p.whole(2)); });
     }},
    {"frame", [](Player &p) { p.scene.setFrame(p.number(0)); }},
    {"begin", [](Player &p) { p.scene.getUndo().begin(p.text(0)); }},
    {"end", [](Player &p) { p.scene.getUndo().endOrForget(); }},
    {"undo", [](Player &p) { p.scene.getUndo().undo(); }},
    {"redo", [](Player &p) { p.scene.getUndo().redo(); }},
    {"read",
     [](Player &p) {
         const ZEL_ParmList &parms = p.node().getParms();
         int index = 0;
         const ZEL_Parm *const parm = parms.getParmPtrFromChannel(p.text(1).c_str(), &index);
         double value = 0.0;
         parm->getValue(p.scene.frameToTime(p.number(2)), value, index, BASgetSTID());
         std::printf("%a\n", value);
     }},
};

} // namespace

int main(int argc, char **argv)
{
    Player player;
    if (argc != 3 || !(player.interface = NOD_Interface::fromFile(argv[1], player.report))) {
        std::cerr << "usage: edits SCRIPT OUT\n";
        return 2;
    }
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream words(line);
        std::string word, field;
        std::getline(words, word, '\t');
        player.fields.clear();
        while (std::getline(words, field, '\t')) {
            player.fields.push_back(field);
        }
        theEdits.at(word)(player);
    }
    NOD_Report report;
    const bool saved = NOD_SceneFile::save(player.scene, argv[2], {}, report);
    std::cerr << report.asText();
    return saved && !report.hasErrors() ? 0 : 1;
}
