#include "PYZ_Arrays.h"

#include "PYZ_Edit.h"
#include "PYZ_Keys.h"
#include "PYZ_Value.h"

#include <EVL/EVL.h>
#include <NOD/NOD_Address.h>
#include <NOD/NOD_ExpressionCheck.h>
#include <NOD/NOD_Sampler.h>
#include <TRK/TRK_FullKey.h>
#include <ZEL/ZEL_Parm.h>

#include <cmath>
#include <optional>
#include <vector>

namespace
{

/// What a sampled array's memory is.
struct Samples
{
    using PYZ_Class = void;

    std::vector<double> numbers;
    std::size_t rows = 0;
    std::size_t columns = 0;
};

/// numpy's array if it is there, else a memoryview; neither copies.
py::object arrayOf(std::unique_ptr<Samples> samples)
{
    const py::object kept = py::cast(std::move(samples));
    try {
        return py::module_::import("numpy").attr("asarray")(kept);
    } catch (py::error_already_set &error) {
        if (!error.matches(PyExc_ImportError)) {
            throw;
        }
    }
    return py::memoryview(kept);
}

// ---------------------------------------------------------------------- //
// Numbers from Python
// ---------------------------------------------------------------------- //

/// Those of an array of float64, without a look at each as an object.
std::optional<std::vector<double>> fromBuffer(py::handle object, py::ssize_t dimensions,
                                              const char *what)
{
    if (!PyObject_CheckBuffer(object.ptr())) {
        return std::nullopt;
    }
    const py::buffer_info info = py::reinterpret_borrow<py::buffer>(object).request();
    if (info.format != py::format_descriptor<double>::format() || info.ndim > dimensions ||
        info.ndim == 0) {
        return std::nullopt;
    }
    const py::ssize_t columns = info.ndim == 2 ? info.shape[1] : 1;
    std::vector<double> numbers;
    numbers.reserve(std::size_t(info.size));
    for (py::ssize_t row = 0; row < info.shape[0]; ++row) {
        for (py::ssize_t column = 0; column < columns; ++column) {
            const char *const place = static_cast<const char *>(info.ptr) + row * info.strides[0] +
                                      (info.ndim == 2 ? column * info.strides[1] : 0);
            double number = 0.0;
            std::memcpy(&number, place, sizeof number);
            if (!std::isfinite(number)) {
                throw py::value_error(std::string(what) + " must be finite");
            }
            numbers.push_back(number);
        }
    }
    return numbers;
}

std::vector<double> toNumbers(py::handle object, const char *what)
{
    if (auto numbers = fromBuffer(object, 1, what)) {
        return std::move(*numbers);
    }
    std::vector<double> numbers;
    for (const py::handle item : py::reinterpret_borrow<py::object>(object)) {
        numbers.push_back(PYZtoNumber(item, what));
    }
    return numbers;
}

/// Of one of the two that is given.
std::vector<double> toTimes(const NOD_Scene &scene, const py::object &frames,
                            const py::object &times)
{
    if (frames.is_none() == times.is_none()) {
        throw py::type_error("either frames or times are given");
    }
    if (frames.is_none()) {
        return toNumbers(times, "a time");
    }
    std::vector<double> numbers = toNumbers(frames, "a frame");
    for (double &number : numbers) {
        number = scene.frameToTime(number);
    }
    return numbers;
}

// ---------------------------------------------------------------------- //
// Sampling
// ---------------------------------------------------------------------- //

std::vector<std::string> toAddresses(const py::object &names)
{
    std::vector<std::string> addresses;
    if (PyUnicode_Check(names.ptr())) {
        addresses.push_back(PYZfromText(names, "an address"));
        return addresses;
    }
    for (const py::handle name : names) {
        addresses.push_back(PYZfromText(name, "an address"));
    }
    return addresses;
}

/// Within a reading.
void addColumns(NOD_Node &base, const std::vector<std::string> &addresses, NOD_Sampler &sampler)
{
    NOD_Report report;
    for (const std::string &address : addresses) {
        for (const NOD_Place &place : NODfindPlaces(base, address, report)) {
            sampler.add(place, report);
        }
    }
    if (report.hasErrors()) {
        PYZtell(report, "EditError", false);
    }
}

std::string columnName(const NOD_Sampler &sampler, std::size_t column)
{
    const ZEL_Parm &parm = sampler.getParm(column);
    const NOD_Node *const node = static_cast<const NOD_Node *>(parm.getParmOwner());
    return PYZpathOf(*node) + '/' + parm.getChannelToken(sampler.getComponent(column)).c_str();
}

[[noreturn]] void raiseFault(const NOD_Sampler &sampler, const NOD_SampleFault &fault, double frame)
{
    char place[64];
    std::snprintf(place, sizeof place, " at frame %g", frame);
    PYZraiseEvaluation(
        columnName(sampler, fault.column), fault.number,
        place + (fault.count > 1 ? ", and " + std::to_string(fault.count - 1) + " more" : ""));
}

/// The node that addresses are of, found when nothing changes any more.
template <class Find>
py::object sample(PYZ_Scene &scene, const Find &findBase, const py::object &names,
                  const py::object &frames, const py::object &times)
{
    const std::vector<std::string> addresses = toAddresses(names);
    const std::vector<double> rows = toTimes(scene.get(), frames, times);
    auto samples = std::make_unique<Samples>();
    NOD_Sampler sampler;
    NOD_SampleFault fault;
    const PYZ_Reading reading(&scene.get());
    addColumns(findBase(), addresses, sampler);
    samples->rows = rows.size();
    samples->columns = sampler.getWidth();
    samples->numbers.resize(rows.size() * sampler.getWidth());
    {
        const PYZ_Rest rest;
        sampler.sample(rows.data(), rows.size(), samples->numbers.data(), fault,
                       [](const std::function<void()> &share) {
                           const PYZ_Reading::Helper helper;
                           share();
                       });
    }
    if (fault.count > 0) {
        raiseFault(sampler, fault, scene->timeToFrame(rows[fault.row]));
    }
    return arrayOf(std::move(samples));
}

template <class Find>
py::list columns(const Find &findBase, const py::object &names)
{
    const std::vector<std::string> addresses = toAddresses(names);
    const PYZ_Reading reading(nullptr);
    NOD_Sampler sampler;
    addColumns(findBase(), addresses, sampler);
    py::list result;
    for (std::size_t column = 0; column < sampler.getWidth(); ++column) {
        result.append(PYZtext(columnName(sampler, column)));
    }
    return result;
}

// ---------------------------------------------------------------------- //
// Keys
// ---------------------------------------------------------------------- //

/// Raises where the rows of an array aren't those of the components.
void checkShape(const py::object &values, std::size_t columns)
{
    if (!PyObject_CheckBuffer(values.ptr())) {
        return;
    }
    const py::buffer_info info = py::reinterpret_borrow<py::buffer>(values).request();
    const bool rowsFlag = info.ndim == 2 && info.shape[1] == py::ssize_t(columns);
    if (!rowsFlag && columns > 1) {
        throw py::value_error("each row of values has " + std::to_string(columns) + " numbers");
    }
}

/// As many values a row as there are components.
std::vector<double> toValues(const py::object &values, std::size_t columns)
{
    checkShape(values, columns);
    if (auto numbers = fromBuffer(values, columns > 1 ? 2 : 1, "a value")) {
        return std::move(*numbers);
    }
    std::vector<double> numbers;
    for (const py::handle item : values) {
        if (columns == 1) {
            numbers.push_back(PYZtoNumber(item, "a value"));
            continue;
        }
        const std::vector<double> row = toNumbers(item, "a value");
        if (row.size() != columns) {
            throw py::value_error("each row of values has " + std::to_string(columns) + " numbers");
        }
        numbers.insert(numbers.end(), row.begin(), row.end());
    }
    return numbers;
}

void setKeys(const PYZ_Parm &self, const py::object &values, const py::object &frames,
             const py::object &times, const py::object &expression)
{
    const std::size_t width = std::size_t(self.getEnd(self.get()) - self.getFirst());
    const PYZ_Kind kind = PYZkindOf(self.get());
    if (kind == PYZ_Kind::TEXT || kind == PYZ_Kind::DICT || kind == PYZ_Kind::NONE) {
        throw py::type_error(self.getNameThen() + " has no numbers");
    }
    const std::vector<double> rows = toTimes(self.getScene().get(), frames, times);
    const std::vector<double> numbers = toValues(values, width);
    if (numbers.size() != rows.size() * width) {
        throw py::value_error(std::to_string(rows.size()) +
                              " times need values of as many rows of " + std::to_string(width));
    }
    PYZcheckTimes(rows);
    const std::string text = PYZfromText(expression, "a curve");
    const KIT_StringHolder curve(text.c_str());
    PYZeditParm(self, "Set keys of ",
                [&](NOD_Edit &edit, NOD_Node &node, ZEL_Parm &parm, NOD_Report &report) {
                    bool done = parm.getVectorSize() >= self.getFirst() + int(width);
                    std::vector<TRK_FullKey> keys(rows.size());
                    for (std::size_t column = 0; done && column < width; ++column) {
                        for (std::size_t i = 0; i < rows.size(); ++i) {
                            keys[i].time = rows[i];
                            keys[i].in.value = keys[i].out.value = numbers[i * width + column];
                            keys[i].expression = curve;
                        }
                        const int index = self.getFirst() + int(column);
                        done = edit.replaceKeys(node, parm.getChannelToken(index).view(), keys);
                    }
                    if (!done) {
                        edit.cancel();
                    } else if (!rows.empty()) {
                        NODcheckExpression(text, TRK_LANGUAGE_NATIVE, parm.getToken(), report);
                    }
                    return done;
                });
}

const char *const theSampleText =
    "sample(addresses, frames=None, *, times=None) -> numpy.ndarray\n\nThe values of components at frames, or times in "
    "seconds, as float64: a row for each frame,\na column for each component, which columns() names. Addresses may be "
    "patterns: \"/rig/*/t\".\nWithout numpy a memoryview. All cores work on it while other threads run.";
const char *const theColumnsText =
    "columns(addresses) -> list of str\n\nWhat the columns of sample() are.";

} // namespace

void PYZdefineArrays(py::module_ &module)
{
    py::class_<Samples>(module, "_Samples", py::buffer_protocol(), py::is_final())
        .def_buffer([](Samples &self) {
            const py::ssize_t width = py::ssize_t(self.columns * sizeof(double));
            return py::buffer_info(self.numbers.data(), sizeof(double),
                                   py::format_descriptor<double>::format(), 2,
                                   {self.rows, self.columns}, {width, py::ssize_t(sizeof(double))});
        });
    const auto add = [&](const char *owner, const char *name, auto function, auto... more) {
        const py::object type = module.attr(owner);
        type.attr(name) = py::cpp_function(function, py::name(name), py::is_method(type), more...);
    };
    add(
        "Scene", "sample",
        [](PYZ_Scene &self, const py::object &names, const py::object &frames,
           const py::object &times) {
            return sample(
                self, [&]() -> NOD_Node & { return self->getRoot(); }, names, frames, times);
        },
        py::arg("addresses"), py::arg("frames") = py::none(), py::kw_only(),
        py::arg("times") = py::none(), theSampleText);
    add(
        "Node", "sample",
        [](const PYZ_Node &self, const py::object &names, const py::object &frames,
           const py::object &times) {
            return sample(
                self.getScene(), [&]() -> NOD_Node & { return self.get(); }, names, frames, times);
        },
        py::arg("addresses"), py::arg("frames") = py::none(), py::kw_only(),
        py::arg("times") = py::none(), theSampleText);
    add(
        "Scene", "columns",
        [](const PYZ_Scene &self, const py::object &names) {
            return columns([&]() -> NOD_Node & { return self->getRoot(); }, names);
        },
        py::arg("addresses"), theColumnsText);
    add(
        "Node", "columns",
        [](const PYZ_Node &self, const py::object &names) {
            return columns([&]() -> NOD_Node & { return self.get(); }, names);
        },
        py::arg("addresses"), theColumnsText);
    add("Parm", "set_keys", setKeys, py::arg("values"), py::arg("frames") = py::none(),
        py::kw_only(), py::arg("times") = py::none(), py::arg("expression") = "linear()",
        "set_keys(values, frames=None, *, times=None, expression='linear()')\n\nReplaces all keys by as many as there "
        "are frames, or times in seconds. Values are an array, of a\nvector with a row for each frame; the expression "
        "is the curve to the next key.");
}
