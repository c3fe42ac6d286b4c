#include "PYZ_Value.h"

#include "PYZ_Edit.h"

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_Nearest.h>
#include <KIT/KIT_String.h>
#include <NOD/NOD_Batch.h>
#include <NOD/NOD_TextEdit.h>
#include <NOD/NOD_UndoStack.h>
#include <SNK/SNK_Python.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_DataItem.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <cmath>
#include <optional>
#include <sstream>

namespace
{

constexpr bool thePropagate = true;
constexpr bool theReplaceExpression = true;

py::object json()
{
    return py::module_::import("json");
}

PYZ_Cell evaluate(const ZEL_Parm &parm, PYZ_Kind kind, int index, double time, PYZ_Texts texts,
                  int thread)
{
    switch (kind) {
    case PYZ_Kind::FLOAT: {
        double value = 0.0;
        parm.getValue(time, value, index, thread);
        return value;
    }
    case PYZ_Kind::INTEGER:
    case PYZ_Kind::TOGGLE: {
        std::int64_t value = 0;
        parm.getValue(time, value, index, thread);
        return value;
    }
    case PYZ_Kind::TEXT: {
        KIT_String value;
        parm.getValue(time, value, index, texts == PYZ_Texts::EXPANDED, thread);
        return value.toStdString();
    }
    case PYZ_Kind::DICT: {
        std::shared_ptr<const ZEL_DataItem> item;
        parm.getValue(time, item, index, thread);
        std::ostringstream os;
        if (item && item->getKeyValueDict() && item->saveAscii(os)) {
            return os.str();
        }
        return {};
    }
    case PYZ_Kind::NONE: break;
    }
    return {};
}

/// Whether reading the components takes no longer than letting others have the interpreter: numbers that stand or lie
/// on a curve. They can't run anything or fail, either.
bool isBrief(const PYZ_Parm &handle, const ZEL_Parm &parm, PYZ_Kind kind, double time)
{
    if (kind == PYZ_Kind::TEXT || kind == PYZ_Kind::DICT || parm.isMultiParm()) {
        return false;
    }
    for (int k = handle.getFirst(); k < handle.getEnd(parm); ++k) {
        const TRK_Channel *const channel = parm.getChannel(k);
        const TRK_Segment *const segment = channel ? channel->getExpressionSegment(time) : nullptr;
        if ((segment && !segment->isInterpolated()) || parm.getIsOverrideActive(k)) {
            return false;
        }
    }
    return true;
}

[[noreturn]] void raiseFailure(const PYZ_Parm &handle, int number, const NOD_Report &report)
{
    std::string more;
    if (number == EVL::EVL_PYTHON && SNKgetExpressionError()[0]) {
        more = std::string("\n") + SNKgetExpressionError();
    }
    PYZraiseEvaluation(PYZpathOf(handle.getNode()) + '/' + handle.getName(handle.get()), number,
                       more, report);
}

/// Reads what may take long or fail.
std::vector<PYZ_Cell> evaluateAll(const PYZ_Parm &handle, PYZ_Kind kind, double time,
                                  PYZ_Texts texts)
{
    std::vector<PYZ_Cell> cells;
    NOD_Report report;
    int number = EVL::EVL_OK;
    {
        const PYZ_Reading reading(handle.getScenePtr());
        const ZEL_Parm &parm = handle.get();
        const int first = handle.getFirst();
        const int end = handle.getEnd(parm);
        PYZgather(report, {}, [&](NOD_Report &) {
            const int thread = BASgetSTID();
            const TRK_EvalContext::Scope context(thread, time);
            const EVL::ErrorScope errors(thread, EVL::ErrorScope::CLEARED);
            for (int k = first; k < end; ++k) {
                cells.push_back(evaluate(parm, kind, k, time, texts, thread));
            }
            number = errors.number();
            return true;
        });
    }
    if (number != EVL::EVL_OK || report.hasErrors()) {
        raiseFailure(handle, number, report);
    }
    PYZtell(report, nullptr, true);
    return cells;
}

// ---------------------------------------------------------------------- //
// From Python
// ---------------------------------------------------------------------- //

[[noreturn]] void raiseKind(const std::string &name, PYZ_Kind kind, py::handle value)
{
    throw py::type_error(name + " takes " + PYZkindWord(kind) + ", not " +
                         Py_TYPE(value.ptr())->tp_name);
}

/// Nothing for what is none.
std::optional<double> numberOf(py::handle value)
{
    const double number = PyUnicode_Check(value.ptr()) ? -1.0 : PyFloat_AsDouble(value.ptr());
    if (number != -1.0 || !(PyUnicode_Check(value.ptr()) || PyErr_Occurred())) {
        return number;
    }
    if (PyErr_Occurred() && !PyErr_ExceptionMatches(PyExc_TypeError)) {
        throw py::error_already_set();
    }
    PyErr_Clear();
    return std::nullopt;
}

double toDouble(py::handle value, const std::string &name)
{
    const std::optional<double> number = numberOf(value);
    if (!number) {
        raiseKind(name, PYZ_Kind::FLOAT, value);
    }
    return *number;
}

std::int64_t toInteger(py::handle value, const std::string &name, PYZ_Kind kind)
{
    const py::object number = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
    if (!number) {
        if (!PyErr_ExceptionMatches(PyExc_TypeError)) {
            throw py::error_already_set();
        }
        PyErr_Clear();
        raiseKind(name, kind, value);
    }
    const long long result = PyLong_AsLongLong(number.ptr());
    if (result == -1 && PyErr_Occurred()) {
        throw py::error_already_set();
    }
    return result;
}

std::int64_t toEntry(const std::string &word, const ZEL_Parm &parm, const std::string &name)
{
    const std::vector<std::string> words = NODordinalWords(parm);
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i] == word) {
            return std::int64_t(i);
        }
    }
    throw py::value_error(name + " has no entry \"" + word + '"' + KITdidYouMean(word, words));
}

bool writeCell(ZEL_Parm &parm, int index, double time, const PYZ_Cell &cell)
{
    if (const double *const number = std::get_if<double>(&cell)) {
        return parm.setValue(time, *number, !theReplaceExpression, index, ZEL_ADDKEY_PENDING,
                             thePropagate);
    }
    if (const std::int64_t *const integer = std::get_if<std::int64_t>(&cell)) {
        return parm.setValue(time, *integer, !theReplaceExpression, index, ZEL_ADDKEY_PENDING,
                             thePropagate);
    }
    const std::string &text = std::get<std::string>(cell);
    return parm.setValue(time, text.c_str(), TRK_MEANING_LITERAL, !theReplaceExpression, index,
                         ZEL_ADDKEY_PENDING, thePropagate);
}

/// All components of a vector of numbers at once, so that one event tells it.
template <class T>
bool writeVector(ZEL_Parm &parm, double time, const std::vector<PYZ_Cell> &cells)
{
    std::vector<T> numbers;
    for (const PYZ_Cell &cell : cells) {
        numbers.push_back(std::get<T>(cell));
    }
    return parm.setValues(time, numbers.data(), !theReplaceExpression, ZEL_ADDKEY_PENDING,
                          thePropagate);
}

bool writeCells(ZEL_Parm &parm, int first, double time, const std::vector<PYZ_Cell> &cells)
{
    if (cells.size() > 1 && std::holds_alternative<double>(cells[0])) {
        return writeVector<double>(parm, time, cells);
    }
    if (cells.size() > 1 && std::holds_alternative<std::int64_t>(cells[0])) {
        return writeVector<std::int64_t>(parm, time, cells);
    }
    bool done = true;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        done = writeCell(parm, first + int(i), time, cells[i]) && done;
    }
    return done;
}

/// A count of items comes from outside: it is limited as that of a file is.
bool writeCount(NOD_Node &node, ZEL_Parm &parm, double time, const PYZ_Cell &cell)
{
    const ZEL_InputBudget budget(0);
    const NOD_Batch batch(node); // else the graph would be looked through for each item
    return writeCell(parm, 0, time, cell);
}

bool writeReported(NOD_Node &node, ZEL_Parm &parm, int first, double time,
                   const std::vector<PYZ_Cell> &cells, NOD_Report &report)
{
    const NOD_ReportScope scope(report);
    return parm.isMultiParm() ? writeCount(node, parm, time, cells.at(0))
                              : writeCells(parm, first, time, cells);
}

/// All of it or, after an error, nothing.
bool writeRecorded(NOD_Node &node, ZEL_Parm &parm, int first, double time,
                   const std::vector<PYZ_Cell> &cells, NOD_Report &report)
{
    NOD_Edit edit(node, std::string("Set ") + parm.getToken());
    edit.change(node, parm);
    const bool done = writeReported(node, parm, first, time, cells, report);
    if (report.hasErrors()) {
        edit.cancel();
    }
    return done;
}

bool write(NOD_Scene &scene, NOD_Node &node, ZEL_Parm &parm, int first, double time,
           const std::vector<PYZ_Cell> &cells, NOD_Report &report)
{
    NOD_UndoStack &undo = scene.getUndo();
    if (undo.isOn()) {
        return writeRecorded(node, parm, first, time, cells, report);
    }
    // A count can be refused halfway: it is taken back by a step that isn't kept.
    const bool limitFlag = parm.isMultiParm() && undo.setLimits(1, NOD_UndoStack::theUsualBytes);
    const bool done = limitFlag ? writeRecorded(node, parm, first, time, cells, report)
                                : writeReported(node, parm, first, time, cells, report);
    if (limitFlag) {
        undo.setLimits(0, NOD_UndoStack::theUsualBytes);
    }
    return done;
}

/// What sits in loops: a number that nothing follows is set without a report. False, with nothing done, for all else.
bool writeNumber(const PYZ_Parm &handle, py::handle value, double time)
{
    const bool wholeFlag = PyLong_CheckExact(value.ptr());
    if (!wholeFlag && !PyFloat_CheckExact(value.ptr())) {
        return false;
    }
    const PYZ_Changing changing(handle.getScenePtr());
    ZEL_Parm &parm = handle.get();
    const PYZ_Kind kind = PYZkindOf(parm);
    if (handle.isVector(parm) || !parm.getType().isFloatType() ||
        !(kind == PYZ_Kind::FLOAT || (kind == PYZ_Kind::INTEGER && wholeFlag))) {
        return false;
    }
    double number = 0.0;
    if (kind == PYZ_Kind::INTEGER) {
        int overflow = 0;
        number = double(PyLong_AsLongLongAndOverflow(value.ptr(), &overflow));
        if (overflow != 0) {
            return false;
        }
    } else {
        number = PyFloat_AsDouble(value.ptr());
    }
    if (number == -1.0 && PyErr_Occurred()) {
        PyErr_Clear();
        return false;
    }
    if (!handle.getScenePtr()->getUndo().setNumber(handle.getNode(), parm, handle.getFirst(), time,
                                                   number)) {
        return false;
    }
    changing.raiseKept();
    return true;
}

std::vector<PYZ_Cell> toCells(const PYZ_Parm &handle, const ZEL_Parm &parm, py::handle value)
{
    const std::string name = handle.getName(parm);
    if (!handle.isVector(parm)) {
        return {PYZtoCell(value, parm, name)};
    }
    const int size = parm.getVectorSize();
    const std::string wanted = name + " takes a sequence of " + std::to_string(size);
    if (PyUnicode_Check(value.ptr()) || PyBytes_Check(value.ptr())) {
        throw py::type_error(wanted + ", not " + Py_TYPE(value.ptr())->tp_name);
    }
    const py::object items = py::reinterpret_steal<py::object>(PySequence_Tuple(value.ptr()));
    if (!items) {
        if (!PyErr_ExceptionMatches(PyExc_TypeError)) {
            throw py::error_already_set();
        }
        PyErr_Clear();
        throw py::type_error(wanted + ", not " + Py_TYPE(value.ptr())->tp_name);
    }
    if (PyTuple_GET_SIZE(items.ptr()) != size) {
        throw py::value_error(wanted + ", not of " + std::to_string(PyTuple_GET_SIZE(items.ptr())));
    }
    std::vector<PYZ_Cell> cells;
    for (int k = 0; k < size; ++k) {
        cells.push_back(PYZtoCell(PyTuple_GET_ITEM(items.ptr(), k), parm, name));
    }
    return cells;
}

void writeDict(const PYZ_Parm &handle, const std::string &text, double time)
{
    PYZeditParm(handle, "Set ",
                [&](NOD_Edit &, NOD_Node &node, const ZEL_Parm &parm, NOD_Report &report) {
                    const std::string address =
                        std::string(parm.getToken()) + ':' + std::to_string(handle.getFirst());
                    return NOD_TextEdit(node, time, report).set(address, text);
                });
}

} // namespace

PYZ_Kind PYZkindOf(const ZEL_Parm &parm)
{
    const ZEL_Type &type = parm.getType();
    if (!parm.getInstance() || parm.getVectorSize() == 0 || type.isSwitcher() ||
        parm.isCallbackType()) {
        return PYZ_Kind::NONE;
    }
    if (type.isFloatType()) {
        return type.hasFloatType(ZEL_Type::ZEL_FLOAT_INTEGER) || parm.isMultiParm()
                   ? PYZ_Kind::INTEGER
                   : PYZ_Kind::FLOAT;
    }
    if (type.isOrdinalType()) {
        return type.hasOrdinalType(ZEL_Type::ZEL_ORD_TOGGLE) ? PYZ_Kind::TOGGLE : PYZ_Kind::INTEGER;
    }
    return type.isStringType() ? PYZ_Kind::TEXT
           : type.isDataType() ? PYZ_Kind::DICT
                               : PYZ_Kind::NONE;
}

const char *PYZkindWord(PYZ_Kind kind)
{
    switch (kind) {
    case PYZ_Kind::FLOAT: return "float";
    case PYZ_Kind::INTEGER: return "int";
    case PYZ_Kind::TOGGLE: return "bool";
    case PYZ_Kind::TEXT: return "str";
    case PYZ_Kind::DICT: return "dict";
    case PYZ_Kind::NONE: break;
    }
    return "none";
}

py::object PYZfromCell(const PYZ_Cell &cell, PYZ_Kind kind)
{
    if (const double *const number = std::get_if<double>(&cell)) {
        return py::float_(*number);
    }
    if (const std::int64_t *const integer = std::get_if<std::int64_t>(&cell)) {
        const bool boolFlag = kind == PYZ_Kind::TOGGLE && (*integer == 0 || *integer == 1);
        return boolFlag ? py::object(py::bool_(*integer != 0)) : py::object(py::int_(*integer));
    }
    if (const std::string *const text = std::get_if<std::string>(&cell)) {
        return kind == PYZ_Kind::DICT ? json().attr("loads")(PYZtext(*text))
                                      : py::object(PYZtext(*text));
    }
    return py::none();
}

PYZ_Cell PYZtoCell(py::handle value, const ZEL_Parm &parm, const std::string &name)
{
    const PYZ_Kind kind = PYZkindOf(parm);
    switch (kind) {
    case PYZ_Kind::FLOAT: return toDouble(value, name);
    case PYZ_Kind::INTEGER:
    case PYZ_Kind::TOGGLE:
        return PyUnicode_Check(value.ptr()) && parm.getType().isOrdinalType()
                   ? toEntry(PYZfromText(value, "an entry"), parm, name)
                   : toInteger(value, name, kind);
    case PYZ_Kind::TEXT:
        if (!PyUnicode_Check(value.ptr())) {
            raiseKind(name, kind, value);
        }
        return PYZfromText(value, name.c_str());
    case PYZ_Kind::DICT:
        if (!PyDict_Check(value.ptr())) {
            raiseKind(name, kind, value);
        }
        return PYZfromText(json().attr("dumps")(value), name.c_str());
    case PYZ_Kind::NONE: break;
    }
    throw py::type_error(name + " has no value");
}

double PYZtoNumber(py::handle value, std::string_view what)
{
    const std::optional<double> number = numberOf(value);
    if (!number) {
        throw py::type_error(std::string(what) + " must be a number, not " +
                             Py_TYPE(value.ptr())->tp_name);
    }
    if (!std::isfinite(*number)) {
        throw py::value_error(std::string(what) + " must be finite");
    }
    return *number;
}

const char *PYZlanguageWord(TRK_ExprLanguage language)
{
    return language == TRK_LANGUAGE_PYTHON ? "python" : "native";
}

TRK_ExprLanguage PYZtoLanguage(py::handle word)
{
    const std::string text = PYZfromText(word, "a language");
    for (const TRK_ExprLanguage language : {TRK_LANGUAGE_NATIVE, TRK_LANGUAGE_PYTHON}) {
        if (text == PYZlanguageWord(language)) {
            return language;
        }
    }
    throw py::value_error("the language of an expression is \"native\" or \"python\", not \"" +
                          text + '"');
}

double PYZtimeOf(const NOD_Scene &scene, py::handle time, py::handle frame)
{
    if (!time.is_none() && !frame.is_none()) {
        throw py::type_error("either a time or a frame is given, not both");
    }
    return !time.is_none()    ? PYZtoNumber(time, "a time")
           : !frame.is_none() ? scene.frameToTime(PYZtoNumber(frame, "a frame"))
                              : scene.getTime();
}

py::object PYZread(const PYZ_Parm &handle, double time, PYZ_Texts texts)
{
    ZEL_Parm &parm = handle.get();
    const PYZ_Kind kind = PYZkindOf(parm);
    if (kind == PYZ_Kind::NONE) {
        throw py::type_error(handle.getName(parm) + " has no value");
    }
    const bool vectorFlag = handle.isVector(parm);
    const bool briefFlag = isBrief(handle, parm, kind, time);
    if (briefFlag && !vectorFlag) {
        return PYZfromCell(evaluate(parm, kind, handle.getFirst(), time, texts, BASgetSTID()),
                           kind);
    }
    std::vector<PYZ_Cell> cells;
    for (int k = 0; briefFlag && k < parm.getVectorSize(); ++k) {
        cells.push_back(evaluate(parm, kind, k, time, texts, BASgetSTID()));
    }
    if (!briefFlag) {
        cells = evaluateAll(handle, kind, time, texts);
    }
    if (!vectorFlag) {
        return PYZfromCell(cells.at(0), kind);
    }
    py::tuple result(cells.size());
    for (std::size_t i = 0; i < cells.size(); ++i) {
        result[i] = PYZfromCell(cells[i], kind);
    }
    return result;
}

namespace
{

PYZ_Cell defaultOf(const ZEL_Parm &parm, PYZ_Kind kind, int index)
{
    if (kind == PYZ_Kind::FLOAT) {
        double value = 0.0;
        parm.getDefaultValue(value, index);
        return value;
    }
    if (kind == PYZ_Kind::INTEGER || kind == PYZ_Kind::TOGGLE) {
        std::int64_t value = 0;
        parm.getDefaultValue(value, index);
        return value;
    }
    if (kind == PYZ_Kind::TEXT) {
        KIT_String value;
        parm.getDefaultValue(value, index);
        return value.toStdString();
    }
    return {};
}

} // namespace

py::object PYZreadDefault(const PYZ_Parm &handle)
{
    const PYZ_Reading reading(handle.getScenePtr());
    const ZEL_Parm &parm = handle.get();
    const PYZ_Kind kind = PYZkindOf(parm);
    if (!handle.isVector(parm)) {
        return PYZfromCell(defaultOf(parm, kind, handle.getFirst()), kind);
    }
    py::tuple result(std::size_t(parm.getVectorSize()));
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        result[std::size_t(k)] = PYZfromCell(defaultOf(parm, kind, k), kind);
    }
    return result;
}

std::string PYZrefusal(const ZEL_Parm &parm, int index, double time, const std::string &name)
{
    return parm.getLockedFlag(index)       ? name + " is locked"
           : !parm.isEditable(time, index) ? name + " can't be edited"
                                           : std::string();
}

void PYZwrite(const PYZ_Parm &handle, py::handle value, double time)
{
    if (writeNumber(handle, value, time)) {
        return;
    }
    std::vector<PYZ_Cell> cells = toCells(handle, handle.get(), value);
    if (PYZkindOf(handle.get()) == PYZ_Kind::DICT) {
        writeDict(handle, std::get<std::string>(cells[0]), time);
        return;
    }
    const PYZ_Changing changing(handle.getScenePtr());
    ZEL_Parm &parm = handle.get(); // converting a value may have run anything
    for (int k = handle.getFirst(); k < handle.getEnd(parm); ++k) {
        const std::string refusal = PYZrefusal(parm, k, time, parm.getChannelToken(k).c_str());
        if (!refusal.empty()) {
            PYZraise("EditError", refusal);
        }
    }
    NOD_Report report;
    NOD_Node &node = handle.getNode();
    const auto work = [&](NOD_Report &) {
        return write(*handle.getScenePtr(), node, parm, handle.getFirst(), time, cells, report);
    };
    // Items take long to make; anything else takes no longer than letting others have the interpreter.
    const bool done = parm.isMultiParm() ? PYZgather(report, {}, work) : work(report);
    changing.raiseKept();
    PYZtell(report, "EditError", done, handle.getNameThen() + " can't be set");
}
