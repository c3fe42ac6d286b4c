#include "PYZ_Parm.h"

#include "PYZ_Edit.h"
#include "PYZ_Guard.h"
#include "PYZ_Keys.h"
#include "PYZ_Value.h"

#include <BAS/BAS_Thread.h>
#include <NOD/NOD_Batch.h>
#include <NOD/NOD_Conditions.h>
#include <NOD/NOD_Description.h>
#include <NOD/NOD_TextEdit.h>
#include <TRK/TRK_Channel.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Range.h>

#include <algorithm>

namespace
{

/// Of the single component, or a tuple of all.
template <class Read>
py::object each(const PYZ_Parm &self, const Read &read)
{
    const PYZ_Reading reading(nullptr);
    const ZEL_Parm &parm = self.get();
    if (!self.isVector(parm)) {
        return read(parm, self.getFirst());
    }
    py::tuple result(std::size_t(parm.getVectorSize()));
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        result[std::size_t(k)] = read(parm, k);
    }
    return result;
}

// ---------------------------------------------------------------------- //
// Values
// ---------------------------------------------------------------------- //

PyObject *getValue(PyObject *self, void *)
{
    return PYZguard([&] {
        const PYZ_Parm &parm = PYZmade<PYZ_Parm>(self);
        return PYZread(parm, parm.getTime()).release().ptr();
    });
}

int setValue(PyObject *self, PyObject *value, void *)
{
    return PYZguardSet([&] {
        if (!value) {
            throw py::attribute_error("a value can't be deleted; revert() gives the default");
        }
        const PYZ_Parm &parm = PYZmade<PYZ_Parm>(self);
        PYZwrite(parm, value, parm.getTime());
    });
}

py::object at(const PYZ_Parm &self, const py::object &time, const py::object &frame)
{
    return PYZread(self, PYZtimeOf(self.getScene().get(), time, frame));
}

void set(const PYZ_Parm &self, const py::object &value, const py::object &time,
         const py::object &frame)
{
    PYZwrite(self, value, PYZtimeOf(self.getScene().get(), time, frame));
}

void revert(const PYZ_Parm &self)
{
    PYZeditParm(self, "Revert ",
                [&](NOD_Edit &changes, NOD_Node &node, ZEL_Parm &parm, NOD_Report &) {
                    changes.change(node, parm);
                    bool done = false;
                    for (int k = self.getFirst(); k < self.getEnd(parm); ++k) {
                        if (!parm.getLockedFlag(k)) {
                            constexpr bool propagate = true;
                            parm.revertToDefault(self.getTime(), k, propagate);
                            done = true;
                        }
                    }
                    return done;
                });
}

py::object getToken(const PYZ_Parm &self)
{
    const std::vector<std::string> words = NODordinalWords(self.get());
    if (words.empty()) {
        return py::none();
    }
    return each(self, [&](const ZEL_Parm &, int index) -> py::object {
        const PYZ_Parm one(self, index);
        const py::object value = PYZread(one, self.getTime());
        if (!PyLong_Check(value.ptr())) {
            return py::none();
        }
        const std::int64_t number = value.cast<std::int64_t>();
        return number >= 0 && std::uint64_t(number) < words.size()
                   ? py::object(PYZtext(words[std::size_t(number)]))
                   : py::none();
    });
}

// ---------------------------------------------------------------------- //
// Expressions and keys
// ---------------------------------------------------------------------- //

py::object getExpression(const PYZ_Parm &self)
{
    return each(self, [&](const ZEL_Parm &parm, int index) -> py::object {
        const TRK_Channel *const channel = parm.getChannel(index);
        const TRK_Segment *const segment =
            channel ? channel->getExpressionSegment(self.getTime()) : nullptr;
        return segment && !segment->isInterpolated() ? py::object(PYZtext(segment->getExpression()))
                                                     : py::none();
    });
}

void dropChannel(const PYZ_Parm &self, int index)
{
    PYZeditParm(self, "Remove channel of ",
                [&](NOD_Edit &changes, NOD_Node &node, const ZEL_Parm &parm, NOD_Report &) {
                    return !parm.getChannel(index) ||
                           changes.removeChannel(node, parm.getChannelToken(index).view());
                });
}

void setExpression(const PYZ_Parm &self, const py::object &text, const py::object &language)
{
    const int index = self.getSingle(self.get(), "an expression");
    if (text.is_none()) {
        dropChannel(self, index);
        return;
    }
    const std::string code = PYZfromText(text, "an expression");
    const TRK_ExprLanguage chosen = PYZtoLanguage(language);
    const double time = self.getTime();
    PYZeditParm(self, "Set expression of ",
                [&](NOD_Edit &, NOD_Node &node, const ZEL_Parm &held, NOD_Report &report) {
                    const std::string address =
                        std::string(held.getToken()) + ':' + std::to_string(index);
                    return NOD_TextEdit(node, time, report).setExpression(address, code, chosen);
                });
}

void setExpressionOf(const PYZ_Parm &self, const py::object &text)
{
    if (!self.isVector(self.get())) {
        setExpression(self, text, py::str("native"));
        return;
    }
    if (PyUnicode_Check(text.ptr())) {
        self.getSingle(self.get(), "an expression"); // which raises
    }
    const py::tuple texts(text);
    if (int(texts.size()) != self.get().getVectorSize()) {
        throw py::value_error(self.getNameThen() + " has " +
                              std::to_string(self.get().getVectorSize()) + " components");
    }
    const PYZ_Changing changing(self.getScenePtr());
    {
        const NOD_Edit all(self.getNode(),
                           "Set expressions of " + std::string(self.getToken().c_str()));
        for (std::size_t k = 0; k < texts.size(); ++k) {
            const PYZ_Parm one(self, int(k));
            setExpression(one, texts[k], py::str("native"));
        }
    }
    changing.raiseKept();
}

py::object getKeys(const PYZ_Parm &self)
{
    return each(self, [&](const ZEL_Parm &, int index) { return PYZkeys(PYZ_Parm(self, index)); });
}

void setKeys(const PYZ_Parm &self, const py::object &keys)
{
    if (!self.isVector(self.get())) {
        PYZsetKeys(PYZ_Parm(self, self.getFirst()), keys);
        return;
    }
    const py::tuple all(keys);
    if (int(all.size()) != self.get().getVectorSize()) {
        throw py::value_error(self.getNameThen() + " takes the keys of " +
                              std::to_string(self.get().getVectorSize()) + " components");
    }
    const PYZ_Changing changing(self.getScenePtr());
    {
        const NOD_Edit edit(self.getNode(), "Set keys of " + std::string(self.getToken().view()));
        for (std::size_t k = 0; k < all.size(); ++k) {
            PYZsetKeys(PYZ_Parm(self, int(k)), all[k]);
        }
    }
    changing.raiseKept();
}

py::object getLanguage(const PYZ_Parm &self)
{
    return each(self, [&](const ZEL_Parm &parm, int index) -> py::object {
        const TRK_Channel *const channel = parm.getChannel(index);
        if (!channel) {
            return py::none();
        }
        return py::str(PYZlanguageWord(channel->getExprLanguageAtTime(self.getTime())));
    });
}

// ---------------------------------------------------------------------- //
// What it is
// ---------------------------------------------------------------------- //

py::object getMenu(const PYZ_Parm &self)
{
    std::vector<std::pair<std::string, std::string>> entries;
    NOD_Report report;
    {
        const PYZ_Reading reading(self.getScenePtr());
        const ZEL_Parm &parm = self.get();
        const ZEL_ChoiceList *const menu = parm.getChoiceListPtr();
        if (!menu) {
            return py::none();
        }
        PYZgather(report, {}, [&](NOD_Report &) {
            constexpr bool quiet = false;
            const ZEL_Name *names = nullptr;
            menu->getChoiceNames(names, parm.getParmOwner(), parm.getSparePtr(), &parm, quiet);
            for (; names && !names->isSentinel(); ++names) {
                entries.emplace_back(names->getToken(), names->getLabel());
            }
            return true;
        });
    }
    PYZtell(report, "EvaluationError", true);
    const py::object item = PYZrecord("MenuItem");
    py::tuple result(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        result[i] = item(PYZtext(entries[i].first), PYZtext(entries[i].second));
    }
    return result;
}

py::object getRange(const PYZ_Parm &self)
{
    const ZEL_Range *const range = self.get().getRangePtr();
    if (!range) {
        return py::none();
    }
    const auto end = [](bool thereFlag, double value) {
        return thereFlag ? py::object(py::float_(value)) : py::none();
    };
    return PYZrecord("Range")(end(range->getMinFlag() != 0, range->getUIMin()),
                              end(range->getMaxFlag() != 0, range->getUIMax()), range->hasParmMin(),
                              range->hasParmMax());
}

std::string typeWord(const PYZ_Parm &self)
{
    return NODdescribeOne(*self.get().getTemplatePtr()).type;
}

bool isShown(const PYZ_Parm &self, bool visible)
{
    const PYZ_Reading reading(self.getScenePtr());
    ZEL_Parm &parm = self.get();
    NOD_Node &node = self.getNode();
    const int index = node.getParms().getParmIndex(&parm);
    NOD_ParmState state;
    {
        const PYZ_Rest rest;
        state = NOD_Conditions::stateOf(node.getParms(), index);
    }
    const int component = self.getComponent() < 0 ? 0 : self.getComponent();
    return visible
               ? !state.hiddenFlag && parm.getType().isVisible() && parm.getVisibleState(component)
               : !state.disabledFlag && parm.getEnableState(component) != 0;
}

bool isLocked(const PYZ_Parm &self)
{
    const ZEL_Parm &parm = self.get();
    return self.isVector(parm) ? parm.areAllComponentsLocked()
                               : parm.getLockedFlag(self.getFirst());
}

void setLocked(const PYZ_Parm &self, const py::object &value)
{
    const int truth = PyBool_Check(value.ptr()) || PyNumber_Check(value.ptr())
                          ? PyObject_IsTrue(value.ptr())
                          : -1;
    if (truth < 0 && PyErr_Occurred()) {
        throw py::error_already_set();
    }
    if (truth < 0) {
        throw py::type_error(std::string("locked is True or False, not ") +
                             Py_TYPE(value.ptr())->tp_name);
    }
    const bool locked = truth != 0;
    PYZeditParm(self, locked ? "Lock " : "Unlock ",
                [&](NOD_Edit &changes, NOD_Node &node, ZEL_Parm &parm, NOD_Report &) {
                    changes.change(node, parm);
                    for (int k = self.getFirst(); k < self.getEnd(parm); ++k) {
                        parm.setLockedFlag(k, locked);
                    }
                    return true;
                });
}

void press(const PYZ_Parm &self)
{
    if (!self.get().isCallbackType()) {
        throw py::type_error(self.getNameThen() + " is no button");
    }
    PYZeditParm(self, "Press ", [&](NOD_Edit &, NOD_Node &, ZEL_Parm &parm, NOD_Report &) {
        constexpr bool sendEvent = true, updateMulti = false;
        parm.privateValueChanged(-1, sendEvent, updateMulti);
        return true;
    });
}

// ---------------------------------------------------------------------- //
// Components and items
// ---------------------------------------------------------------------- //

/// One component, or a list of those of a slice.
py::object getComponents(const PYZ_Parm &self, const py::object &index)
{
    const ZEL_Parm &parm = self.get();
    if (self.getComponent() >= 0) {
        throw py::type_error(self.getName(parm) + " is a component");
    }
    const std::vector<int> places = PYZplacesOf(index, parm.getVectorSize(), "component");
    py::list parts;
    for (const int place : places) {
        parts.append(PYZ_Parm(self, place));
    }
    return PySlice_Check(index.ptr()) ? py::object(parts) : py::object(parts[0]);
}

void setComponents(const PYZ_Parm &self, const py::object &index, const py::object &value)
{
    const py::object found = getComponents(self, index);
    if (!PySlice_Check(index.ptr())) {
        PYZwrite(found.cast<const PYZ_Parm &>(), value, self.getTime());
        return;
    }
    const py::list parts = found;
    const py::tuple values(value);
    if (values.size() != parts.size()) {
        throw py::value_error(std::to_string(parts.size()) +
                              " components take as many values, not " +
                              std::to_string(values.size()));
    }
    const PYZ_Changing changing(self.getScenePtr());
    {
        NOD_Edit edit(self.getNode(), "Set " + std::string(self.getToken().view()));
        try {
            for (std::size_t i = 0; i < values.size(); ++i) {
                PYZwrite(parts[i].cast<const PYZ_Parm &>(), values[i], self.getTime());
            }
        } catch (...) {
            edit.cancel();
            throw;
        }
    }
    changing.raiseKept();
}

int checkBlock(const PYZ_Parm &self)
{
    const PYZ_Changing changing(self.getScenePtr()); // reading the count makes items
    ZEL_Parm &parm = self.get();
    if (!parm.isMultiParm()) {
        throw py::type_error(self.getNameThen() + " has no items: it is no multi-parameter");
    }
    NOD_Node &node = self.getNode();
    NOD_Report report;
    const int count = PYZgather(report, {}, [&](NOD_Report &) {
        const ZEL_InputBudget budget(0);
        const NOD_Batch batch(node);
        int value = 0;
        parm.getValue(self.getTime(), value, 0, BASgetSTID());
        return parm.getMultiParmNumItems();
    });
    changing.raiseKept();
    PYZtell(report, "EditError", true);
    return count;
}

py::list getItems(const PYZ_Parm &self)
{
    const int count = checkBlock(self);
    const PYZ_Reading reading(nullptr);
    py::list items;
    for (int item = 0; item < count; ++item) {
        const int size = self.get().getMultiParmInstancesPerItem();
        py::list parms;
        for (int child = 0; child < size; ++child) {
            const ZEL_Parm *const parm = self.get().getMultiParm(item * size + child);
            if (parm && PYZkindOf(*parm) != PYZ_Kind::NONE) {
                parms.append(
                    PYZ_Parm(self, KIT_StringHolder(parm->getTokenRef()), PYZ_Parm::theWhole));
            }
        }
        items.append(parms);
    }
    return items;
}

void insertItem(const PYZ_Parm &self, const py::object &before)
{
    const int count = checkBlock(self);
    const py::ssize_t index = PYZtoIndex(before, "item");
    const py::ssize_t place = std::clamp<py::ssize_t>(index < 0 ? index + count : index, 0, count);
    PYZeditParm(self, "Insert item of ",
                [&](NOD_Edit &changes, NOD_Node &node, ZEL_Parm &, NOD_Report &) {
                    return changes.insertItem(node, self.getToken().view(), int(place));
                });
}

void removeItem(const PYZ_Parm &self, const py::object &index)
{
    const int place = PYZplaceOf(index, checkBlock(self), "item");
    PYZeditParm(self, "Remove item of ",
                [&](NOD_Edit &changes, NOD_Node &node, ZEL_Parm &, NOD_Report &) {
                    return changes.removeItem(node, self.getToken().view(), place);
                });
}

void moveItem(const PYZ_Parm &self, const py::object &from, const py::object &to)
{
    const int count = checkBlock(self);
    const int first = PYZplaceOf(from, count, "item");
    const int second = PYZplaceOf(to, count, "item");
    PYZeditParm(self, "Move item of ",
                [&](NOD_Edit &changes, NOD_Node &node, ZEL_Parm &, NOD_Report &) {
                    return changes.moveItem(node, self.getToken().view(), first, second);
                });
}

// ---------------------------------------------------------------------- //
// The class
// ---------------------------------------------------------------------- //

std::string parmText(const PYZ_Parm &self)
{
    if (!self.isThere()) {
        return "<zel.Parm '" + self.getPathThen() + '/' + self.getNameThen() + "': gone>";
    }
    const std::string start =
        "<zel.Parm '" + PYZpathOf(self.getNode()) + '/' + self.getName(self.get()) + "': ";
    if (PYZkindOf(self.get()) == PYZ_Kind::NONE) {
        return start + typeWord(self) + '>';
    }
    try {
        return start + typeWord(self) + " = " +
               std::string(py::repr(PYZread(self, self.getTime()))) + '>';
    } catch (py::error_already_set &) {
        return start + typeWord(self) + ", which can't be evaluated>";
    }
}

void defineValues(py::class_<PYZ_Parm> &type)
{
    type.def(
        "at", at, py::arg("time") = py::none(), py::arg("frame") = py::none(),
        "at(time=None, frame=None) -> value\n\nThe value at a time in seconds, or at a frame.");
    type.def(
        "set", set, py::arg("value"), py::arg("time") = py::none(), py::arg("frame") = py::none(),
        "set(value, time=None, frame=None)\n\nSets the value at a time. On a channel it is pending there until "
        "a key keeps it: see keys.");
    type.def_property_readonly(
        "raw", [](const PYZ_Parm &self) { return PYZread(self, self.getTime(), PYZ_Texts::RAW); },
        "The value, of a text with its variables and expressions as they were written.");
    type.def_property_readonly("default", PYZreadDefault,
                               "The value of a new node; None of a dictionary.");
    type.def_property_readonly(
        "is_default", [](const PYZ_Parm &self) { return self.get().isTrueFactoryDefault(); },
        "Whether all components have their defaults.");
    type.def("revert", revert, "revert()\n\nSets the default; locked components stay.");
    type.def_property_readonly(
        "token", getToken,
        "The token of the menu's entry that the value is, 'on' or 'off' of a toggle, else None.");
    type.def_property(
        "expression", getExpression, setExpressionOf,
        "What drives the component at the scene's time; None for keys or a constant. Setting one removes "
        "keys, and\nNone removes the expression, whose value stays.");
    type.def(
        "set_expression", setExpression, py::arg("expression"), py::arg("language") = "native",
        "set_expression(expression, language='native')\n\nThe same in a language: 'native' or 'python'.");
    type.def_property_readonly("language", getLanguage,
                               "The language of the expression; None without a channel.");
    type.def_property(
        "keys", getKeys, setKeys,
        "The keys, a sequence that can be read and edited: see zel.Keys. Set it to keys, or to pairs of "
        "time and\nvalue; an empty list removes them, and the value stays.");
    type.def("press", press, "press()\n\nPresses a button: calls what Node.on_press() was given.");
}

void defineState(py::class_<PYZ_Parm> &type)
{
    type.def_property_readonly(
        "name", [](const PYZ_Parm &self) { return PYZtext(self.getName(self.get())); },
        "The parameter's token, or the component's channel token.");
    type.def_property_readonly(
        "label", [](const PYZ_Parm &self) { return PYZtext(self.get().getLabel()); },
        "What people read of it.");
    type.def_property_readonly("type", typeWord, "The word that a dialog script has for the type.");
    type.def_property_readonly(
        "kind", [](const PYZ_Parm &self) { return PYZkindWord(PYZkindOf(self.get())); },
        "What its values are: 'float', 'int', 'bool', 'str' or 'dict'.");
    type.def_property_readonly(
        "node",
        [](const PYZ_Parm &self) { return PYZnode(self.getSceneObject(), &self.getNode()); },
        "The node that it is of.");
    type.def_property_readonly(
        "menu", getMenu,
        "The entries of its menu, each with token and label; None without one. Runs a menu's "
        "script.");
    type.def_property_readonly("range", getRange,
                               "min, max, and whether either is a hard limit; None without one.");
    type.def_property_readonly(
        "enabled", [](const PYZ_Parm &self) { return isShown(self, false); },
        "Whether its conditions, and those of what it is in, let people edit it.");
    type.def_property_readonly(
        "visible", [](const PYZ_Parm &self) { return isShown(self, true); },
        "Whether its conditions, and those of what it is in, show it.");
    type.def_property("locked", isLocked, setLocked, "Whether all of its components refuse edits.");
    type.def_property_readonly(
        "is_animated",
        [](const PYZ_Parm &self) {
            const ZEL_Parm &parm = self.get();
            bool channelFlag = false;
            for (int k = self.getFirst(); k < self.getEnd(parm); ++k) {
                channelFlag = channelFlag || parm.getChannel(k);
            }
            return channelFlag;
        },
        "Whether keys or an expression drive a component.");
    type.def_property_readonly(
        "is_spare", [](const PYZ_Parm &self) { return self.get().isSpareParm(); },
        "Whether the node's type doesn't have it.");
    type.def_property_readonly(
        "is_ramp", [](const PYZ_Parm &self) { return self.get().isRampType(); },
        "Whether it is a ramp, whose items are its keys: see ramp().");
    type.def_property_readonly(
        "is_gone", [](const PYZ_Parm &self) { return !self.isThere(); },
        "Whether the node hasn't it any more.");
}

void defineParts(py::class_<PYZ_Parm> &type)
{
    type.def("__len__", [](const PYZ_Parm &self) {
        const ZEL_Parm &parm = self.get();
        return self.getEnd(parm) - self.getFirst();
    });
    type.def("__bool__", [](const PYZ_Parm &) { return true; });
    type.def("__getitem__", getComponents, py::arg("component"));
    type.def("__setitem__", setComponents);
    type.def("__iter__", [](const PYZ_Parm &self) {
        py::list parts;
        const ZEL_Parm &parm = self.get();
        for (int k = self.getFirst(); k < self.getEnd(parm); ++k) {
            parts.append(PYZ_Parm(self, k));
        }
        return py::iter(parts);
    });
    type.def_property_readonly("items", getItems,
                               "Of a multi-parameter a list for each item, of its parameters.");
    type.def("insert", insertItem, py::arg("index"),
             "insert(index)\n\nInserts an item of a multi-parameter.");
    type.def("remove", removeItem, py::arg("index"),
             "remove(index)\n\nRemoves an item of a multi-parameter.");
    type.def("move", moveItem, py::arg("index"), py::arg("new_index"),
             "move(index, new_index)\n\nMoves an item of a multi-parameter to another place.");
}

} // namespace

PYZ_Parm::PYZ_Parm(py::object scene, NOD_Node &node, const KIT_StringHolder &token, int component,
                   const KIT_StringHolder &path)
    : myScene(std::move(scene)), mySceneData(&PYZ_Scene::of(myScene)),
      myAnchor(node.getParms().getHandleAnchor()), myNode(&node), myToken(token),
      myComponent(component), myPath(path)
{}

PYZ_Parm::PYZ_Parm(const PYZ_Parm &of, const KIT_StringHolder &token, int component)
    : myScene(of.myScene), mySceneData(of.mySceneData), myAnchor(of.myAnchor),
      myNode(&of.getNode()), myToken(token), myComponent(component), myPath(of.myPath)
{}

ZEL_Parm *PYZ_Parm::find() const
{
    PYZ_Reading::await();
    ZEL_ParmList *const list = myAnchor->getList();
    if (!list || !mySceneData->isInTree(*myNode)) {
        return nullptr;
    }
    if (myCount != myAnchor->getChangeCount()) {
        myParm = list->getParmPtr(myToken);
        if (myParm && (!myParm->getInstance() || myComponent >= myParm->getVectorSize())) {
            myParm = nullptr;
        }
        myCount = myAnchor->getChangeCount();
    }
    return myParm;
}

bool PYZ_Parm::isThere() const
{
    return find() != nullptr;
}

void PYZ_Parm::raiseNodeGone() const
{
    PYZraise("GoneError",
             "the node " + getPathThen() + " of the parameter " + getNameThen() + " is gone");
}

ZEL_Parm &PYZ_Parm::get() const
{
    if (ZEL_Parm *const parm = find()) {
        return *parm;
    }
    if (!myAnchor->getList() || !mySceneData->isInTree(*myNode)) {
        raiseNodeGone();
    }
    PYZraise("GoneError",
             "the parameter " + getNameThen() + " of " + PYZpathOf(*myNode) + " is gone");
}

NOD_Node &PYZ_Parm::getNode() const
{
    PYZ_Reading::await();
    if (!myAnchor->getList() || !mySceneData->isInTree(*myNode)) {
        raiseNodeGone();
    }
    return *myNode;
}

bool PYZ_Parm::isVector(const ZEL_Parm &parm) const
{
    return myComponent < 0 && parm.getVectorSize() != 1;
}

int PYZ_Parm::getEnd(const ZEL_Parm &parm) const
{
    return myComponent < 0 ? parm.getVectorSize() : myComponent + 1;
}

int PYZ_Parm::getSingle(const ZEL_Parm &parm, const char *what) const
{
    if (isVector(parm)) {
        throw py::type_error(getName(parm) + " has " + std::to_string(parm.getVectorSize()) +
                             " components: " + what + " is of one, as of [0]");
    }
    return getFirst();
}

std::string PYZ_Parm::getName(const ZEL_Parm &parm) const
{
    return myComponent < 0 ? std::string(myToken.view())
                           : std::string(parm.getChannelToken(myComponent).view());
}

std::string PYZ_Parm::getNameThen() const
{
    return std::string(myToken.view()) +
           (myComponent < 0 ? "" : '[' + std::to_string(myComponent) + ']');
}

bool PYZ_Parm::isSame(const PYZ_Parm &other) const
{
    return myNode == other.myNode && myScene.is(other.myScene) && myToken == other.myToken &&
           myComponent == other.myComponent;
}

std::size_t PYZ_Parm::getHash() const
{
    return std::hash<const void *>()(myNode) * 31 + myToken.hash() * 7 + std::size_t(myComponent);
}

int PYZ_Parm::traverse(visitproc visit, void *arg) const
{
    Py_VISIT(myScene.ptr());
    return 0;
}

void PYZdefineParm(py::module_ &module)
{
    py::class_<PYZ_Parm> type(module, "Parm", PYZcollected<PYZ_Parm>(), py::is_final(),
                              R"(A parameter of a node, or one component of it.

What there is of each component is a tuple where there are several: value, at(), default, expression, keys.
parm[1] is the second component, with all that a parameter has, and parm[:2] a list of the first two.

>>> box = zel.Interface.from_text('parm { name "t" type vector default { 1 2 3 } }', "box")
>>> scene = zel.Scene()
>>> t = scene.add("box", box)["t"]
>>> t.value
(1.0, 2.0, 3.0)
>>> t[1].value = 5
>>> t[0].expression = "$F * 2"
>>> t.at(frame=12), t.default
((24.0, 5.0, 3.0), (1.0, 2.0, 3.0))
>>> t[1:] = (7, 8)
>>> t[1:]
[<zel.Parm '/box/ty': vector = 7.0>, <zel.Parm '/box/tz': vector = 8.0>]
)");
    type.def("__repr__", parmText);
    type.def("__eq__", [](const PYZ_Parm &self, const py::object &other) {
        return py::isinstance<PYZ_Parm>(other) && self.isSame(other.cast<const PYZ_Parm &>());
    });
    type.def("__hash__", &PYZ_Parm::getHash);
    type.def("__reduce__", [](const PYZ_Parm &self) {
        return py::make_tuple(py::module_::import("operator").attr("getitem"),
                              py::make_tuple(PYZnode(self.getSceneObject(), &self.getNode()),
                                             PYZtext(self.getName(self.get()))));
    });
    // The two that sit in loops do without pybind11's search of overloads.
    static PyGetSetDef value = {"value", getValue, setValue,
                                "The value at the scene's time: of several components a tuple.",
                                nullptr};
    type.attr("value") = py::reinterpret_steal<py::object>(
        PyDescr_NewGetSet(reinterpret_cast<PyTypeObject *>(type.ptr()), &value));
    defineValues(type);
    defineState(type);
    defineParts(type);
}
