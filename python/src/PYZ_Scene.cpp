#include "PYZ_Scene.h"

#include "PYZ_Files.h"
#include "PYZ_Interface.h"
#include "PYZ_Node.h"
#include "PYZ_Parm.h"
#include "PYZ_Report.h"
#include "PYZ_Value.h"

#include <KIT/KIT_Nearest.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_SceneFile.h>
#include <NOD/NOD_Stats.h>
#include <NOD/NOD_UndoStack.h>
#include <ZEL/ZEL_Parm.h>

#include <cmath>
#include <sstream>

namespace
{

const char *eventWord(TRK_CHANGE_TYPE type)
{
    switch (type) {
    case TRK_CHANGE_VALUE: return "value";
    case TRK_CHANGE_ENABLE: return "enabled";
    case TRK_CHANGE_VISIBLE: return "visible";
    case TRK_CHANGE_LOCK: return "locked";
    }
    return "other";
}

py::object parmAt(const py::object &scene, NOD_Node &node, int index)
{
    const ZEL_Parm *const parm = index >= 0 && index < node.getParms().getEntries()
                                     ? node.getParms().getParmPtr(index)
                                     : nullptr;
    return parm ? py::cast(PYZ_Parm(scene, node, KIT_StringHolder(parm->getTokenRef()),
                                    PYZ_Parm::theWhole, KIT_StringHolder(PYZpathOf(node))))
                : py::none();
}

template <class Call>
void forEachBelow(NOD_Node &node, const Call &call)
{
    for (const std::unique_ptr<NOD_Node> &child : node.getChildren()) {
        call(*child);
        forEachBelow(*child, call);
    }
}

/// What `with scene.undo("label"):` is.
class UndoBlock
{
public:
    using PYZ_Class = void;

    UndoBlock(py::object scene, std::string label)
        : myScene(std::move(scene)), myLabel(std::move(label))
    {}
    ~UndoBlock()
    {
        try {
            end();
        } catch (py::error_already_set &error) {
            error.discard_as_unraisable("the end of a block of undo");
        }
    }
    UndoBlock(const UndoBlock &) = delete;
    UndoBlock &operator=(const UndoBlock &) = delete;

    void begin()
    {
        if (myOpenFlag) {
            PYZraise("EditError", "the block \"" + myLabel + "\" is open already");
        }
        const PYZ_Changing changing(&scene().get());
        scene()->getUndo().begin(myLabel);
        myOpenFlag = true;
    }
    void end()
    {
        if (myOpenFlag) {
            const PYZ_Changing changing(&scene().get());
            myOpenFlag = false;
            scene()->getUndo().endOrForget();
        }
    }
    bool cancel()
    {
        if (!myOpenFlag) {
            return false;
        }
        const bool done = PYZchange(&scene().get(), nullptr,
                                    [&](NOD_Report &) { return scene()->getUndo().cancel(); });
        myOpenFlag = myOpenFlag && !done;
        return done;
    }

    std::string text() const
    {
        return "<zel.Scene.UndoBlock '" + myLabel + (myOpenFlag ? "': open>" : "': not open>");
    }

private:
    PYZ_Scene &scene() const { return PYZ_Scene::of(myScene); }

    py::object myScene;
    std::string myLabel;
    bool myOpenFlag = false;
};

// ---------------------------------------------------------------------- //
// Nodes
// ---------------------------------------------------------------------- //

NOD_Node *findNode(const PYZ_Scene &scene, const std::string &path)
{
    const PYZ_Reading reading(nullptr);
    return scene->find(KIT_StringRef(path.c_str()));
}

py::object getNode(const py::object &self, const py::object &path)
{
    PYZ_Scene &scene = PYZ_Scene::of(self);
    const std::string text = PYZfromText(path, "a path");
    if (NOD_Node *const node = findNode(scene, text)) {
        return PYZnode(self, node);
    }
    std::vector<std::string> paths;
    const bool rootedFlag = !text.empty() && text[0] == '/';
    forEachBelow(scene->getRoot(), [&](NOD_Node &node) {
        paths.push_back(PYZpathOf(node).substr(rootedFlag ? 0 : 1));
    });
    throw py::key_error("no node \"" + text + '"' + KITdidYouMean(text, paths));
}

py::object addNode(const py::object &self, const py::object &path, const py::object &interface)
{
    PYZ_Scene &scene = PYZ_Scene::of(self);
    const std::string text = PYZfromText(path, "a path");
    const PYZ_InterfacePtr wanted = PYZtoInterfaceOrNone(interface);
    const PYZ_Changing changing(&scene.get());
    NOD_Node *const node = PYZchange(&scene.get(), "EditError", [&](NOD_Report &report) {
        return wanted ? scene->add(text, wanted, report) : scene->add(text, nullptr, report);
    });
    const py::object made = PYZnode(self, node);
    changing.raiseKept();
    return made;
}

py::list listPaths(const py::object &self)
{
    const PYZ_Reading reading(nullptr);
    py::list paths;
    forEachBelow(PYZ_Scene::of(self)->getRoot(),
                 [&](NOD_Node &node) { paths.append(PYZtext(PYZpathOf(node))); });
    return paths;
}

py::list listNodes(const py::object &self)
{
    const PYZ_Reading reading(nullptr);
    py::list nodes;
    forEachBelow(PYZ_Scene::of(self)->getRoot(),
                 [&](NOD_Node &node) { nodes.append(PYZnode(self, &node)); });
    return nodes;
}

std::size_t countNodes(const PYZ_Scene &scene)
{
    const PYZ_Reading reading(nullptr);
    std::size_t count = 0;
    forEachBelow(scene->getRoot(), [&](NOD_Node &) { ++count; });
    return count;
}

std::string sceneText(const PYZ_Scene &scene)
{
    char text[128];
    const std::size_t nodes = countNodes(scene);
    std::snprintf(text, sizeof text, "<zel.Scene: %zu %s, frame %g of %g to %g, %g fps>", nodes,
                  nodes == 1 ? "node" : "nodes", scene->getFrame(), scene->getFirstFrame(),
                  scene->getLastFrame(), scene->getFrameRate());
    return text;
}

// ---------------------------------------------------------------------- //
// Files
// ---------------------------------------------------------------------- //

void save(PYZ_Scene &scene, const py::object &path, bool binary, bool changedOnly,
          bool selfContained)
{
    const std::string file = PYZfromPath(path);
    const NOD_SaveOptions options = PYZsaveOptions(binary, changedOnly, selfContained);
    PYZchange(&scene.get(), "SceneError", [&](NOD_Report &report) {
        return NOD_SceneFile::save(scene.get(), file, options, report);
    });
}

py::bytes toBytes(PYZ_Scene &scene, bool binary, bool changedOnly, bool selfContained)
{
    std::ostringstream os;
    const NOD_SaveOptions options = PYZsaveOptions(binary, changedOnly, selfContained);
    PYZchange(&scene.get(), "SceneError", [&](NOD_Report &report) {
        return NOD_SceneFile::save(scene.get(), os, options, report);
    });
    return py::bytes(os.str());
}

void load(PYZ_Scene &scene, const py::object &path, const py::object &scripts,
          const py::object &strict)
{
    const std::string file = PYZfromPath(path);
    const NOD_LoadOptions options = PYZloadOptions(scripts);
    PYZchange(
        &scene.get(), "SceneError",
        [&](NOD_Report &report) { return NOD_SceneFile::load(scene.get(), file, options, report); },
        {}, PYZfaultsOf(scripts, strict));
}

py::object fromBytes(const py::object &data, const py::object &name, const py::object &scripts,
                     const py::object &strict)
{
    py::object made = py::cast(std::make_unique<PYZ_Scene>());
    PYZ_Scene &scene = PYZ_Scene::of(made);
    std::istringstream is{PYZfromBytes(data, "data")};
    const std::string shown = PYZfromText(name, "a name");
    const NOD_LoadOptions options = PYZloadOptions(scripts);
    PYZchange(
        &scene.get(), "SceneError",
        [&](NOD_Report &report) {
            return NOD_SceneFile::load(scene.get(), is, shown, options, report);
        },
        {}, PYZfaultsOf(scripts, strict));
    return made;
}

/// Without the handlers, and with nothing to undo.
py::object copyScene(const py::object &self)
{
    py::object made = py::cast(std::make_unique<PYZ_Scene>());
    NOD_Scene &from = PYZ_Scene::of(self).get();
    NOD_Scene &to = PYZ_Scene::of(made).get();
    PYZchange(&from, "SceneError", [&](NOD_Report &) {
        to.copyFrom(from);
        return true;
    });
    return made;
}

// ---------------------------------------------------------------------- //
// Undo
// ---------------------------------------------------------------------- //

py::object undo(const py::object &self, const py::object &label)
{
    PYZ_Scene &scene = PYZ_Scene::of(self);
    if (!label.is_none()) {
        return py::cast(std::make_unique<UndoBlock>(self, PYZfromText(label, "a label")));
    }
    const PYZ_Changing changing(&scene.get());
    NOD_Report report;
    const bool done = PYZgather(report, {}, [&](NOD_Report &) { return scene->getUndo().undo(); });
    changing.raiseKept();
    PYZtell(report, nullptr, true);
    return py::bool_(done);
}

bool redo(PYZ_Scene &scene)
{
    const PYZ_Changing changing(&scene.get());
    NOD_Report report;
    const bool done = PYZgather(report, {}, [&](NOD_Report &) { return scene->getUndo().redo(); });
    changing.raiseKept();
    PYZtell(report, nullptr, true);
    return done;
}

template <class Label>
py::tuple labels(std::size_t count, const Label &label)
{
    py::tuple result(count);
    for (std::size_t i = 0; i < count; ++i) {
        result[i] = PYZtext(label(i));
    }
    return result;
}

// ---------------------------------------------------------------------- //
// Time
// ---------------------------------------------------------------------- //

void setTime(PYZ_Scene &scene, double seconds)
{
    PYZchange(&scene.get(), "EditError", [&](NOD_Report &) {
        scene->setTime(seconds);
        return true;
    });
}

void setRate(PYZ_Scene &scene, const py::object &rate)
{
    const double number = PYZtoNumber(rate, "a frame rate");
    const PYZ_Changing changing(&scene.get());
    if (!scene->setFrameRate(number)) {
        throw py::value_error("a frame rate must be above 0 and finite");
    }
}

void setRange(PYZ_Scene &scene, const py::object &range)
{
    const py::tuple ends(range);
    if (ends.size() != 2) {
        throw py::value_error("a frame range has a first and a last frame");
    }
    const double first = PYZtoNumber(ends[0], "the first frame");
    const double last = PYZtoNumber(ends[1], "the last frame");
    const PYZ_Changing changing(&scene.get());
    if (!scene->setFrameRange(first, last)) {
        throw py::value_error(
            "a frame range must be finite, and its last frame not before its first");
    }
}

py::dict stats(PYZ_Scene &scene)
{
    NOD_Stats numbers;
    {
        const PYZ_Reading reading(&scene.get());
        const PYZ_Rest rest;
        numbers = NOD_Stats::of(scene->getRoot());
    }
    py::dict result;
    for (const NOD_Stats::Row &row : numbers.getCounts()) {
        result[row.name] = row.number;
    }
    return result;
}

void defineTree(py::class_<PYZ_Scene> &type)
{
    type.def("add", addNode, py::arg("path"), py::arg("interface") = py::none(),
             R"(add(path, interface=None) -> Node

A new node at a path whose parent exists, with the parameters of the interface.

>>> scene = zel.Scene()
>>> scene.add("lights")
<zel.Node '/lights': no parameters>
)");
    type.def("__getitem__", getNode, py::arg("path"));
    type.def("__delitem__", [](const py::object &self, const py::object &path) {
        getNode(self, path).attr("remove")();
    });
    type.def("__contains__", [](const PYZ_Scene &scene, const py::object &path) {
        return PyUnicode_Check(path.ptr()) && findNode(scene, PYZfromText(path, "a path"));
    });
    type.def("__len__", countNodes);
    type.def("__iter__", [](const py::object &self) { return py::iter(listPaths(self)); });
    type.def("__bool__", [](const PYZ_Scene &) { return true; });
    type.def("keys", listPaths,
             "keys() -> list of str\n\nThe paths of all nodes, in the order of the tree.");
    type.def("values", listNodes,
             "values() -> list of Node\n\nAll nodes, in the order of the tree.");
    type.def(
        "items",
        [](const py::object &self) {
            return py::list(
                py::module_::import("builtins").attr("zip")(listPaths(self), listNodes(self)));
        },
        "items() -> list of (str, Node)");
    type.def(
        "get",
        [](const py::object &self, const py::object &path, const py::object &otherwise) {
            NOD_Node *const node = findNode(PYZ_Scene::of(self), PYZfromText(path, "a path"));
            return node ? PYZnode(self, node) : otherwise;
        },
        py::arg("path"), py::arg("default") = py::none(),
        "get(path, default=None) -> Node\n\nThe node of a path, else the default.");
    type.def_property_readonly(
        "root",
        [](const py::object &self) { return PYZnode(self, &PYZ_Scene::of(self)->getRoot()); },
        "The node that all others are below.");
    type.def(
        "clear",
        [](PYZ_Scene &scene) {
            PYZchange(&scene.get(), "EditError", [&](NOD_Report &) {
                scene->clear();
                return true;
            });
        },
        "clear()\n\nMakes the scene as a new one is; what undo remembers is forgotten.");
    type.def(
        "add_interface",
        [](PYZ_Scene &scene, const py::object &interface) {
            const PYZ_InterfacePtr added = PYZtoInterface(interface);
            const PYZ_Changing changing(&scene.get());
            scene->addInterface(added);
        },
        py::arg("interface"),
        "add_interface(interface)\n\nThe interface of its type name for scenes that leave it to the application.");
    type.def_property_readonly(
        "interfaces",
        [](const PYZ_Scene &scene) {
            py::dict result;
            for (const auto &[name, interface] : scene->getInterfaces()) {
                result[PYZtext(name)] = PYZ_Interface{interface};
            }
            return result;
        },
        "The interfaces that the scene knows, by their type names; a new dict each time.");
}

void defineTime(py::class_<PYZ_Scene> &type)
{
    type.def_property(
        "time", [](const PYZ_Scene &scene) { return scene->getTime(); },
        [](PYZ_Scene &scene, const py::object &time) {
            setTime(scene, PYZtoNumber(time, "a time"));
        },
        "The current time in seconds; frame 1 is time 0.");
    type.def_property(
        "frame", [](const PYZ_Scene &scene) { return scene->getFrame(); },
        [](PYZ_Scene &scene, const py::object &frame) {
            setTime(scene, scene->frameToTime(PYZtoNumber(frame, "a frame")));
        },
        "The current frame.");
    type.def_property(
        "frame_rate", [](const PYZ_Scene &scene) { return scene->getFrameRate(); }, setRate,
        "Frames a second. Keys stay at their times in seconds.");
    type.def_property(
        "frame_range",
        [](const PYZ_Scene &scene) {
            return py::make_tuple(scene->getFirstFrame(), scene->getLastFrame());
        },
        setRange, "The first and the last frame.");
    type.def(
        "time_of",
        [](const PYZ_Scene &scene, const py::object &frame) {
            return scene->frameToTime(PYZtoNumber(frame, "a frame"));
        },
        py::arg("frame"), "time_of(frame) -> float\n\nThe time of a frame in seconds.");
    type.def(
        "frame_of",
        [](const PYZ_Scene &scene, const py::object &time) {
            return scene->timeToFrame(PYZtoNumber(time, "a time"));
        },
        py::arg("time"), "frame_of(time) -> float\n\nThe frame of a time in seconds.");
}

void defineUndo(py::class_<PYZ_Scene> &type)
{
    type.def("undo", undo, py::arg("label") = py::none(),
             R"(undo(label) -> a context manager; undo() -> bool

With a label a block of edits, which one undo takes back:

>>> scene = zel.Scene()
>>> with scene.undo("Build rig"):
...     rig = scene.add("rig")
...     key = scene.add("rig/key")
>>> scene.undo()
True
>>> len(scene)
0

Without one it takes the last step back: false if there is none. Each edit outside of a block is a
step. What was done before an exception leaves a block is a step; `cancel()` of the block takes it back.
)");
    type.def(
        "redo", redo,
        "redo() -> bool\n\nDoes the last step again that was taken back; false if there is none.");
    type.def_property_readonly(
        "undo_labels",
        [](const PYZ_Scene &scene) {
            const NOD_UndoStack &stack = scene->getUndo();
            return labels(stack.getUndoCount(),
                          [&](std::size_t i) { return stack.getUndoLabel(i); });
        },
        "What can be taken back, the next one first.");
    type.def_property_readonly(
        "redo_labels",
        [](const PYZ_Scene &scene) {
            const NOD_UndoStack &stack = scene->getUndo();
            return labels(stack.getRedoCount(),
                          [&](std::size_t i) { return stack.getRedoLabel(i); });
        },
        "What can be done again, the next one first.");
    type.def(
        "limit_undo",
        [](PYZ_Scene &scene, std::size_t steps, std::int64_t bytes) {
            const PYZ_Changing changing(&scene.get());
            if (!scene->getUndo().setLimits(steps, bytes)) {
                PYZraise("EditError", "the limits of undo can't change within a block");
            }
        },
        py::arg("steps"), py::arg("bytes") = NOD_UndoStack::theUsualBytes,
        "limit_undo(steps, bytes=...)\n\nHow many steps are kept, and in how much memory. With 0 steps nothing "
        "is recorded:\nwhat a script that only saves in the end wants.");

    py::class_<UndoBlock>(type, "UndoBlock", "A block of edits that one undo takes back.",
                          py::is_final())
        .def("__enter__",
             [](const py::object &self) {
                 self.cast<UndoBlock &>().begin();
                 return self;
             })
        .def("__exit__", [](UndoBlock &block, const py::args &) { block.end(); })
        .def("__repr__", &UndoBlock::text)
        .def(
            "cancel", &UndoBlock::cancel,
            "cancel() -> bool\n\nTakes back what was done in the block and ends it; false for an inner block.");
}

} // namespace

PYZ_Scene::PYZ_Scene()
{
    const PYZ_Changing changing(nullptr);
    myScene = std::make_unique<NOD_Scene>();
}

PYZ_Scene::~PYZ_Scene()
{
    for (auto &[node, watch] : myWatches) {
        if (watch.anchor->getList()) {
            node->setChangeCallback({});
            node->setDependencyCallback({});
        }
    }
    myWatches.clear();
    PYZ_Changing::bury(std::move(myScene));
}

bool PYZ_Scene::isInTree(const NOD_Node &node) const
{
    const NOD_Node *top = &node;
    while (top->getParent()) {
        top = top->getParent();
    }
    return top == &myScene->getRoot();
}

PYZ_Scene::Watch *PYZ_Scene::findWatch(NOD_Node &node)
{
    const auto found = myWatches.find(&node);
    return found != myWatches.end() && found->second.anchor->getList() ? &found->second : nullptr;
}

void PYZ_Scene::addHandler(NOD_Node &node, Event event, const py::object &handler)
{
    if (!PyCallable_Check(handler.ptr())) {
        throw py::type_error("a handler must be callable");
    }
    const PYZ_Changing changing(nullptr);
    Watch *watch = findWatch(node);
    if (!watch) {
        for (auto i = myWatches.begin(); i != myWatches.end();) {
            i = i->second.anchor->getList() ? std::next(i) : myWatches.erase(i);
        }
        watch = &myWatches
                     .emplace(&node, Watch{ZEL_HandleAnchorPtr(node.getParms().getHandleAnchor()),
                                           {py::list(), py::list()}})
                     .first->second;
        node.setChangeCallback([this](NOD_Node &changed, TRK_CHANGE_TYPE type, int index) {
            const PYZ_Hold hold;
            const py::object self = py::cast(this);
            call(changed, CHANGE,
                 py::make_tuple(PYZnode(self, &changed), eventWord(type),
                                parmAt(self, changed, index)));
        });
        node.setDependencyCallback([this](NOD_Node &changed, int index) {
            const PYZ_Hold hold;
            const ZEL_Parm *const parm =
                index >= 0 ? changed.getParms().getParmPtr(index) : nullptr;
            if (parm && parm->isCallbackType()) {
                call(changed, PRESS, py::make_tuple(parmAt(py::cast(this), changed, index)));
            }
        });
    }
    watch->handlers[event].attr("append")(handler);
}

bool PYZ_Scene::removeHandler(NOD_Node &node, Event event, const py::object &handler)
{
    const Watch *const watch = findWatch(node);
    if (!watch || !watch->handlers[event].contains(handler)) {
        return false;
    }
    watch->handlers[event].attr("remove")(handler);
    return true;
}

void PYZ_Scene::call(NOD_Node &node, Event event, const py::tuple &arguments)
{
    if (const Watch *const watch = findWatch(node)) {
        PYZ_Changing::callLater(watch->handlers[event], arguments);
    }
}

int PYZ_Scene::traverse(visitproc visit, void *arg) const
{
    for (const auto &[node, watch] : myWatches) {
        Py_VISIT(watch.handlers[CHANGE].ptr());
        Py_VISIT(watch.handlers[PRESS].ptr());
    }
    return 0;
}

void PYZdefineScene(py::module_ &module)
{
    py::class_<PYZ_Scene> type(module, "Scene", PYZcollected<PYZ_Scene>(), py::is_final(),
                               R"(Scene()

A tree of nodes, by their paths, with time, variables and undo.

>>> scene = zel.Scene()
>>> lights = scene.add("lights")
>>> scene["lights"] == lights
True
>>> list(scene)
['/lights']
)");
    type.def(py::init<>());
    type.def("__repr__", sceneText);
    defineTree(type);
    defineTime(type);
    defineUndo(type);
    type.def("save", save, py::arg("path"), py::kw_only(), py::arg("binary") = false,
             py::arg("changed_only") = false, py::arg("self_contained") = false,
             R"(save(path, *, binary=False, changed_only=False, self_contained=False)

Replaces the file at once or, after an error, leaves it as it was. `changed_only` leaves out values that are
those of a new node; `self_contained` writes the interfaces as texts, not as the paths of their scripts.
)");
    type.def("load", load, py::arg("path"), py::kw_only(), py::arg("scripts") = true,
             py::arg("strict") = py::none(),
             R"(load(path, *, scripts=True, strict=None)

Replaces everything but the interfaces by what is in the file. For `scripts` and `strict` see zel.load().
)");
    type.def("to_bytes", toBytes, py::kw_only(), py::arg("binary") = false,
             py::arg("changed_only") = false, py::arg("self_contained") = false,
             "to_bytes(...) -> bytes\n\nWhat save() writes.");
    type.def_static("from_bytes", fromBytes, py::arg("data"), py::arg("name") = "bytes",
                    py::kw_only(), py::arg("scripts") = true, py::arg("strict") = py::none(),
                    "from_bytes(data, name='bytes', *, scripts=True, strict=None) -> Scene");
    type.def(
        "make_current", [](PYZ_Scene &scene) { const PYZ_Changing changing(&scene.get()); },
        "make_current()\n\nMakes this the scene that code in Python sees as `vmr`, as evaluating anything of it "
        "does.");
    type.def("stats", stats,
             "stats() -> dict\n\nHow much there is of everything, as `zel stats` prints it.");
    type.def("__copy__", copyScene);
    type.def("__deepcopy__",
             [](const py::object &self, const py::object &) { return copyScene(self); });
    type.def("__reduce__", [](const py::object &self) {
        constexpr bool binary = true, changedOnly = false, selfContained = true;
        return py::make_tuple(
            py::module_::import("zel._pickles").attr("scene"),
            py::make_tuple(toBytes(PYZ_Scene::of(self), binary, changedOnly, selfContained)));
    });
}
