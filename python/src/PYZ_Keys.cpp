#include "PYZ_Keys.h"

#include "PYZ_Edit.h"
#include "PYZ_Value.h"

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_FullKey.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Range.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace
{

constexpr bool theSendEvent = true;
constexpr bool theUpdateMulti = true;

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
    fields["language"] = key.language == TRK_LANGUAGE_PYTHON ? "python" : "native";
    return py::module_::import("zel.records").attr("Key")(**fields);
}

int placeOf(py::ssize_t index, int count)
{
    const py::ssize_t place = index < 0 ? index + count : index;
    if (place < 0 || place >= count) {
        throw py::index_error("no key " + std::to_string(index) + " of " + std::to_string(count));
    }
    return int(place);
}

/// The places that an index or a slice means.
std::vector<int> placesOf(const Keys &self, const py::object &index)
{
    if (!PySlice_Check(index.ptr())) {
        return {placeOf(index.cast<py::ssize_t>(), self.count())};
    }
    py::size_t start = 0, stop = 0, step = 0, length = 0;
    if (!py::reinterpret_borrow<py::slice>(index).compute(std::size_t(self.count()), &start, &stop,
                                                          &step, &length)) {
        throw py::error_already_set();
    }
    std::vector<int> places;
    for (std::size_t i = 0; i < length; ++i, start += step) {
        places.push_back(int(start));
    }
    return places;
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

double number(const py::object &value, const char *what)
{
    const double result = PyFloat_AsDouble(value.ptr());
    if (result == -1.0 && PyErr_Occurred()) {
        throw py::error_already_set();
    }
    if (!std::isfinite(result)) {
        throw py::value_error(std::string("the ") + what + " of a key must be finite");
    }
    return result;
}

/// Of a Key, or of a time and a value.
GivenKey toKey(const py::handle item, const ZEL_Parm &parm, const std::string &name)
{
    GivenKey given;
    const py::object recordType = py::module_::import("zel.records").attr("Key");
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
    key.time = number(full.attr("time"), "time");
    key.expression =
        KIT_StringHolder(PYZfromText(full.attr("expression"), "a key's expression").c_str());
    key.language = PYZfromText(full.attr("language"), "a language") == "python"
                       ? TRK_LANGUAGE_PYTHON
                       : TRK_LANGUAGE_NATIVE;
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
        return value.is_none() ? otherwise : number(value, field);
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

/// One more key, or another one at its time; the channel is made with it.
bool putKey(NOD_Edit &edit, NOD_Node &node, ZEL_Parm &parm, int index, const GivenKey &given)
{
    const std::string_view name = parm.getChannelToken(index).view();
    if (given.text) {
        return edit.key(node, name, given.key.time, *given.text);
    }
    if (!edit.key(node, name, given.key.time, given.key.out.value)) {
        return false;
    }
    TRK_Channel *const channel = parm.getChannel(index);
    if (channel && !given.isPair) {
        TRK_FullKey key = given.key;
        if (const ZEL_Range *const range = parm.getRangePtr()) {
            key.in.value = range->constrain(key.in.value);
            key.out.value = range->constrain(key.out.value);
        }
        channel->putFullKey(key);
        parm.privateValueChanged(index, theSendEvent, theUpdateMulti);
    }
    return channel != nullptr;
}

/// All keys but those at the times go; without any the channel goes, and the value stays.
bool keepKeys(NOD_Edit &edit, NOD_Node &node, ZEL_Parm &parm, int index,
              const std::vector<double> &times)
{
    const std::string_view name = parm.getChannelToken(index).view();
    TRK_Channel *const channel = parm.getChannel(index);
    if (!channel) {
        return true;
    }
    if (times.empty()) {
        return edit.removeChannel(node, name);
    }
    std::vector<double> gone;
    for (int i = 0; i < channel->getNKeys(); ++i) {
        const double time = channel->getKeyTime(i);
        const bool keptFlag = std::any_of(times.begin(), times.end(),
                                          [&](double kept) { return channel->findKey(kept) == i; });
        if (!keptFlag) {
            gone.push_back(time);
        }
    }
    for (const double time : gone) {
        if (!edit.removeKey(node, name, time)) {
            return false;
        }
    }
    return true;
}

void add(const Keys &self, const py::object &key)
{
    const std::vector<GivenKey> keys = toKeys(self, py::make_tuple(key));
    PYZeditParm(self.parm, "Key ",
                [&](NOD_Edit &edit, NOD_Node &node, ZEL_Parm &parm, NOD_Report &) {
                    return putKey(edit, node, parm, self.parm.getFirst(), keys[0]);
                });
}

void removeKeys(const Keys &self, const py::object &index)
{
    std::vector<double> times;
    {
        const PYZ_Reading reading(nullptr);
        const std::vector<int> places = placesOf(self, index);
        const int count = self.count();
        for (int i = 0; i < count; ++i) {
            if (std::find(places.begin(), places.end(), i) == places.end()) {
                times.push_back(self.channel()->getKeyTime(i));
            }
        }
    }
    PYZeditParm(self.parm, "Remove keys of ",
                [&](NOD_Edit &edit, NOD_Node &node, ZEL_Parm &parm, NOD_Report &) {
                    return keepKeys(edit, node, parm, self.parm.getFirst(), times);
                });
}

/// Replaces the keys at some places by others.
void replaceKeys(const Keys &self, const std::vector<int> &places,
                 const std::vector<GivenKey> &keys)
{
    std::vector<double> times;
    {
        const PYZ_Reading reading(nullptr);
        const int count = self.count();
        for (int i = 0; i < count; ++i) {
            if (std::find(places.begin(), places.end(), i) == places.end()) {
                times.push_back(self.channel()->getKeyTime(i));
            }
        }
    }
    for (const GivenKey &key : keys) {
        times.push_back(key.key.time);
    }
    PYZeditParm(self.parm, "Set keys of ",
                [&](NOD_Edit &edit, NOD_Node &node, ZEL_Parm &parm, NOD_Report &) {
                    bool done = true;
                    for (const GivenKey &key : keys) {
                        done = done && putKey(edit, node, parm, self.parm.getFirst(), key);
                    }
                    done = done && keepKeys(edit, node, parm, self.parm.getFirst(), times);
                    if (!done) {
                        edit.cancel();
                    }
                    return done;
                });
}

void setKeyAt(const Keys &self, const py::object &index, const py::object &value)
{
    const std::vector<int> places = placesOf(self, index);
    if (PySlice_Check(index.ptr())) {
        replaceKeys(self, places, toKeys(self, value));
        return;
    }
    const py::object recordType = py::module_::import("zel.records").attr("Key");
    const bool plainFlag = !py::isinstance(value, recordType) && !PyTuple_Check(value.ptr());
    // A value alone is that of the key that is there.
    const py::object key = plainFlag ? keyAt(self, places[0]).attr("with_value")(value) : value;
    replaceKeys(self, places, toKeys(self, py::make_tuple(key)));
}

std::string keysText(const Keys &self)
{
    return "<zel.Keys of '" + self.parm.getNameThen() + "': " + std::to_string(self.count()) + '>';
}

} // namespace

void PYZsetKeys(const PYZ_Parm &handle, py::handle keys)
{
    const Keys self{handle};
    std::vector<int> places;
    for (int i = 0; i < self.count(); ++i) {
        places.push_back(i);
    }
    replaceKeys(self, places, toKeys(self, keys));
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
zel.Key(...) all of it. Keys that are put in go where their times are.
)")
        .def("__len__", &Keys::count)
        .def("__getitem__", getKeys)
        .def("__iter__",
             [](const Keys &self) {
                 return py::iter(
                     getKeys(self, py::slice(std::nullopt, std::nullopt, std::nullopt)));
             })
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
