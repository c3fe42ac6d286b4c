#include "PYZ_Keys.h"

#include "PYZ_Edit.h"
#include "PYZ_Value.h"

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <NOD/NOD_ExpressionCheck.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_FullKey.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_Parm.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>
#include <set>

namespace
{

constexpr const char *theSetLabel = "Set keys of ";

/// `zel.Keys`.
struct Keys
{
    using PYZ_Class = void;

    PYZ_Parm parm;

    TRK_Channel *channel() const { return parm.get().getChannel(parm.getFirst()); }
    int count() const
    {
        const TRK_Channel *const found = channel();
        return found ? found->getNKeys() : 0;
    }
};

/// A key as it comes from Python.
struct GivenKey
{
    TRK_FullKey key;
    bool isPair = false;             ///< of a time and a value alone: the curve is the library's
    std::optional<std::string> text; ///< the value of a string
};

// ---------------------------------------------------------------------- //
// Out
// ---------------------------------------------------------------------- //

py::object keyAt(const Keys &self, int index)
{
    const PYZ_Reading reading(self.parm.getScenePtr());
    const ZEL_Parm &parm = self.parm.get();
    if (index >= self.count()) {
        throw py::index_error("the key is gone"); // since the index was counted
    }
    const TRK_Channel &channel = *self.channel();
    const double time = channel.getKeyTime(index);
    TRK_FullKey key;
    channel.getFullKey(time, key);
    const PYZ_Kind kind = PYZkindOf(parm);
    py::dict fields;
    fields["time"] = time;
    if (kind == PYZ_Kind::TEXT) {
        fields["value"] = PYZread(self.parm, time);
    } else {
        fields["value"] = key.out.value;
        fields["in_value"] = key.in.value;
        fields["slope"] = key.out.slope;
        fields["in_slope"] = key.in.slope;
        fields["handle"] = key.out.acceleration;
        fields["in_handle"] = key.in.acceleration;
    }
    fields["expression"] = PYZtext(key.expression.view());
    fields["language"] = PYZlanguageWord(key.language);
    return PYZrecord("Key")(**fields);
}

std::vector<int> placesOf(const Keys &self, const py::object &index)
{
    return PYZplacesOf(index, self.count(), "key");
}

py::object getKeys(const Keys &self, const py::object &index)
{
    const PYZ_Reading reading(nullptr);
    const std::vector<int> places = placesOf(self, index);
    if (!PySlice_Check(index.ptr())) {
        return keyAt(self, places[0]);
    }
    py::list keys;
    for (const int place : places) {
        keys.append(keyAt(self, place));
    }
    return keys;
}

py::object allKeys(const Keys &self)
{
    return getKeys(self, py::slice(std::nullopt, std::nullopt, std::nullopt));
}

template <class Read>
py::list listTimes(const Keys &self, const Read &read)
{
    const PYZ_Reading reading(nullptr);
    py::list times;
    const int count = self.count();
    for (int i = 0; i < count; ++i) {
        times.append(read(self.channel()->getKeyTime(i)));
    }
    return times;
}

// ---------------------------------------------------------------------- //
// In
// ---------------------------------------------------------------------- //

/// Of a Key, or of a time and a value.
GivenKey toKey(const py::handle item, const ZEL_Parm &parm, const std::string &name)
{
    GivenKey given;
    const py::object recordType = PYZrecord("Key");
    const bool recordFlag = py::isinstance(item, recordType);
    py::object full = py::reinterpret_borrow<py::object>(item);
    if (!recordFlag) {
        const py::tuple pair = py::reinterpret_steal<py::tuple>(PySequence_Tuple(item.ptr()));
        if (!pair) {
            PyErr_Clear();
        }
        if (!pair || pair.size() != 2) {
            throw py::type_error("a key is a zel.Key, or a time and a value");
        }
        full = recordType(pair[0], pair[1]);
        given.isPair = true;
    }
    TRK_FullKey &key = given.key;
    key.time = PYZtoNumber(full.attr("time"), "the time of a key");
    key.expression =
        KIT_StringHolder(PYZfromText(full.attr("expression"), "a key's expression").c_str());
    key.language = PYZtoLanguage(full.attr("language"));
    if (PYZkindOf(parm) == PYZ_Kind::TEXT) {
        given.text = std::get<std::string>(PYZtoCell(full.attr("value"), parm, name));
        return given;
    }
    const PYZ_Cell cell = PYZtoCell(full.attr("value"), parm, name);
    const std::int64_t *const integer = std::get_if<std::int64_t>(&cell);
    key.out.value = integer ? double(*integer) : std::get<double>(cell);
    if (!std::isfinite(key.out.value)) {
        throw py::value_error("the value of a key must be finite");
    }
    const auto other = [&](const char *field, double otherwise) {
        const py::object value = full.attr(field);
        return value.is_none() ? otherwise
                               : PYZtoNumber(value, std::string("the ") + field + " of a key");
    };
    key.in.value = other("in_value", key.out.value);
    key.out.slope = other("slope", 0.0);
    key.in.slope = other("in_slope", key.out.slope);
    key.out.acceleration = other("handle", 0.0);
    key.in.acceleration = other("in_handle", key.out.acceleration);
    return given;
}

std::vector<GivenKey> toKeys(const Keys &self, const py::handle items)
{
    std::vector<GivenKey> keys;
    const std::string name = self.parm.getNameThen();
    for (const py::handle item : py::reinterpret_borrow<py::object>(items)) {
        keys.push_back(toKey(item, self.parm.get(), name));
    }
    return keys;
}

/// Curves and expressions that can't be read are set, with a warning of each.
void checkCurves(const std::vector<GivenKey> &keys, const ZEL_Parm &parm, NOD_Report &report)
{
    std::set<std::pair<std::string_view, TRK_ExprLanguage>> known;
    for (const GivenKey &given : keys) {
        const TRK_FullKey &key = given.key;
        if (!given.text && !given.isPair &&
            known.emplace(key.expression.view(), key.language).second) {
            NODcheckExpression(key.expression.c_str(), key.language, parm.getToken(), report);
        }
    }
}

/// One more of each, or others at their times.
bool putKeys(NOD_Edit &edit, NOD_Node &node, std::string_view name,
             const std::vector<GivenKey> &keys)
{
    bool done = true;
    std::vector<TRK_FullKey> full;
    for (const GivenKey &given : keys) {
        if (given.text) {
            done = done && edit.key(node, name, given.key.time, *given.text);
        } else if (given.isPair) {
            // On its place, and with the curve of what it is put into.
            done = done && edit.putKeys(node, name, full) &&
                   edit.key(node, name, given.key.time, given.key.out.value);
            full.clear();
        } else {
            full.push_back(given.key);
        }
    }
    return done && edit.putKeys(node, name, full);
}

bool replaceAll(NOD_Edit &edit, NOD_Node &node, const ZEL_Parm &parm, int index,
                const std::vector<GivenKey> &keys)
{
    const std::string_view name = parm.getChannelToken(index).view();
    if (PYZkindOf(parm) == PYZ_Kind::TEXT) {
        return (!parm.getChannel(index) || edit.removeChannel(node, name)) &&
               putKeys(edit, node, name, keys);
    }
    std::vector<TRK_FullKey> full;
    for (const GivenKey &given : keys) {
        full.push_back(given.key);
    }
    return edit.replaceKeys(node, name, full);
}

/// Replaces the keys at some places by others.
void replaceKeys(const Keys &self, const std::vector<int> &places,
                 const std::vector<GivenKey> &keys, const char *label)
{
    PYZeditParm(
        self.parm, label, [&](NOD_Edit &edit, NOD_Node &node, ZEL_Parm &parm, NOD_Report &report) {
            const int index = self.parm.getFirst();
            const std::string_view name = parm.getChannelToken(index).view();
            const TRK_Channel *const channel = parm.getChannel(index);
            const int count = channel ? channel->getNKeys() : 0;
            std::vector<double> times;
            for (const int place : places) {
                if (place < count) {
                    times.push_back(channel->getKeyTime(place));
                }
            }
            const bool allFlag = int(times.size()) == count;
            const bool done = allFlag ? replaceAll(edit, node, parm, index, keys)
                                      : (times.empty() || edit.removeKeys(node, name, times)) &&
                                            putKeys(edit, node, name, keys);
            if (!done) {
                edit.cancel();
            } else {
                checkCurves(keys, parm, report);
            }
            return done;
        });
}

void checkTimes(const std::vector<GivenKey> &keys)
{
    std::vector<double> times;
    for (const GivenKey &given : keys) {
        times.push_back(given.key.time);
    }
    PYZcheckTimes(times);
}

void add(const Keys &self, const py::object &key)
{
    const std::vector<GivenKey> keys = toKeys(self, py::make_tuple(key));
    PYZeditParm(self.parm, "Key ",
                [&](NOD_Edit &edit, NOD_Node &node, ZEL_Parm &parm, NOD_Report &report) {
                    const std::string_view name = parm.getChannelToken(self.parm.getFirst()).view();
                    const bool done = putKeys(edit, node, name, keys);
                    checkCurves(keys, parm, report);
                    return done;
                });
}

void removeKeys(const Keys &self, const py::object &index)
{
    const std::vector<int> places = placesOf(self, index);
    replaceKeys(self, places, {}, "Remove keys of ");
}

void setKeyAt(const Keys &self, const py::object &index, const py::object &value)
{
    const std::vector<int> places = placesOf(self, index);
    if (PySlice_Check(index.ptr())) {
        const std::vector<GivenKey> keys = toKeys(self, value);
        checkTimes(keys);
        replaceKeys(self, places, keys, theSetLabel);
        return;
    }
    const py::object recordType = PYZrecord("Key");
    const bool plainFlag = !py::isinstance(value, recordType) && !PyTuple_Check(value.ptr());
    // A value alone is that of the key that is there.
    const py::object key = plainFlag ? keyAt(self, places[0]).attr("with_value")(value) : value;
    replaceKeys(self, places, toKeys(self, py::make_tuple(key)), theSetLabel);
}

std::string keysText(const Keys &self)
{
    if (!self.parm.isThere()) {
        return "<zel.Keys of '" + self.parm.getPathThen() + '/' + self.parm.getNameThen() +
               "': gone>";
    }
    const int count = self.count();
    return "<zel.Keys of '" + PYZpathOf(self.parm.getNode()) + '/' +
           self.parm.getName(self.parm.get()) + "': " + std::to_string(count) +
           (count == 1 ? " key>" : " keys>");
}

} // namespace

void PYZcheckTimes(std::vector<double> times)
{
    const double tolerance = TRK_Manager::getContext().getTimeTolerance();
    std::sort(times.begin(), times.end());
    for (std::size_t i = 1; i < times.size(); ++i) {
        if (times[i] - times[i - 1] <= tolerance) {
            throw py::value_error("two keys have the time " +
                                  std::string(py::str(py::float_(times[i]))));
        }
    }
}

void PYZsetKeys(const PYZ_Parm &handle, py::handle keys)
{
    const Keys self{handle};
    const std::vector<GivenKey> given = toKeys(self, keys);
    checkTimes(given);
    std::vector<int> places(std::size_t(self.count()));
    std::iota(places.begin(), places.end(), 0);
    replaceKeys(self, places, given, theSetLabel);
}

py::object PYZkeys(const PYZ_Parm &handle)
{
    return py::cast(Keys{handle});
}

void PYZdefineKeys(py::module_ &module)
{
    py::class_<Keys>(module, "Keys", py::is_final(),
                     R"(The keys of one component, in the order of their times.

keys[0], keys[1:3] and del keys[-1] work as on a list; keys[0] = 2.5 sets the value of a key, keys[0] =
zel.Key(...) all of it. Keys that are put in go where their times are. It is a view: what others do to the keys
is seen, and it is equal to others, and to lists, of the same keys.

>>> lamp = zel.Interface.from_text('parm { name "level" type float }', "lamp")
>>> level = zel.Scene().add("lamp", lamp)["level"]
>>> level.keys = [(0, 1), (1, 3), (2, 2)]
>>> keys = level.keys
>>> keys[1] = zel.Key(1, 4, slope=2)
>>> del keys[0]
>>> keys.add(5, 0)
>>> [(key.time, key.value, key.slope) for key in keys]
[(1.0, 4.0, 2.0), (2.0, 2.0, 0.0), (5.0, 0.0, 0.0)]
)")
        .def("__len__", &Keys::count)
        .def("__getitem__", getKeys)
        .def("__iter__", [](const Keys &self) { return py::iter(allKeys(self)); })
        .def("__eq__",
             [](const Keys &self, const py::object &other) -> py::object {
                 const bool keysFlag = py::isinstance<Keys>(other);
                 if (!keysFlag && !PyList_Check(other.ptr())) {
                     return py::reinterpret_borrow<py::object>(Py_NotImplemented);
                 }
                 return py::bool_(
                     allKeys(self).equal(keysFlag ? allKeys(other.cast<const Keys &>()) : other));
             })
        .def("__reduce__",
             [](const Keys &self) {
                 return py::make_tuple(py::module_::import("builtins").attr("getattr"),
                                       py::make_tuple(self.parm, "keys"));
             })
        .def(
            "index",
            [](const Keys &self, const py::object &key, const py::object &start,
               const py::object &stop) { return allKeys(self).attr("index")(key, start, stop); },
            py::arg("key"), py::arg("start") = 0, py::arg("stop") = PY_SSIZE_T_MAX,
            "index(key, start=0, stop=...) -> int\n\nWhere the key is; ValueError if it isn't there.")
        .def(
            "count",
            [](const Keys &self, const py::object &key) {
                return allKeys(self).attr("count")(key);
            },
            py::arg("key"), "count(key) -> int\n\n1 if the key is there, else 0.")
        .def("__setitem__", setKeyAt)
        .def("__delitem__", removeKeys)
        .def("__repr__", keysText)
        .def(
            "add",
            [](const Keys &self, const py::object &time, const py::object &value) {
                add(self, value.is_none() ? time : py::object(py::make_tuple(time, value)));
            },
            py::arg("key"), py::arg("value") = py::none(),
            "add(key) or add(time, value)\n\nOne more key, or another one at its time in seconds; makes the channel.")
        .def(
            "clear",
            [](const Keys &self) {
                removeKeys(self, py::slice(std::nullopt, std::nullopt, std::nullopt));
            },
            "clear()\n\nRemoves all keys: the component keeps the value that it has at the scene's time.")
        .def_property_readonly(
            "times",
            [](const Keys &self) { return listTimes(self, [](double time) { return time; }); },
            "The times in seconds.")
        .def_property_readonly(
            "frames",
            [](const Keys &self) {
                return listTimes(
                    self, [&](double time) { return self.parm.getScene()->timeToFrame(time); });
            },
            "The times in frames of the scene.")
        .def_property_readonly(
            "parm", [](const Keys &self) { return self.parm; }, "The component.");
}
