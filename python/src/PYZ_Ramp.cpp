#include "PYZ_Ramp.h"

#include "PYZ_Parm.h"
#include "PYZ_Report.h"
#include "PYZ_Value.h"

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_Ramp.h>
#include <NOD/NOD_Batch.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_RampPicture.h>
#include <NOD/NOD_Scene.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_RampUtils.h>

namespace
{

struct Ramp
{
    using PYZ_Class = void;

    KIT_Ramp ramp;
    bool colorFlag = false;
    std::string name;
};

Ramp rampOf(const PYZ_Parm &self, const py::object &time, const py::object &frame)
{
    const double seconds = PYZtimeOf(self.getScene().get(), time, frame);
    const PYZ_Changing changing(self.getScenePtr()); // reading a ramp makes its items
    const ZEL_Parm &parm = self.get();
    if (!parm.isRampType()) {
        throw py::type_error(self.getNameThen() + " is no ramp");
    }
    Ramp made;
    made.name = self.getName(parm);
    made.colorFlag = parm.isRampTypeColor();
    NOD_Node &node = self.getNode();
    NOD_Report report;
    int number = EVL::EVL_OK;
    PYZgather(report, {}, [&](NOD_Report &) {
        const int thread = BASgetSTID();
        const ZEL_InputBudget budget(0);
        const NOD_Batch batch(node);
        const TRK_EvalContext::Scope context(thread, seconds);
        const EVL::ErrorScope errors(thread, EVL::ErrorScope::CLEARED);
        ZEL_RampUtils::updateRampFromMultiParm(seconds, parm, &made.ramp, nullptr, nullptr);
        number = errors.number();
        return true;
    });
    changing.raiseKept();
    const bool done = number == EVL::EVL_OK;
    PYZtell(report, "EvaluationError", done,
            made.name + ": " + (done ? "" : EVL::getErrorText(number)));
    return made;
}

py::object valueOf(bool colorFlag, const float rgba[4])
{
    return colorFlag ? py::object(py::make_tuple(NODrampNumber(rgba[0]), NODrampNumber(rgba[1]),
                                                 NODrampNumber(rgba[2])))
                     : py::object(py::float_(NODrampNumber(rgba[3])));
}

py::object at(const Ramp &self, const py::object &where)
{
    const float position = float(PYZtoNumber(where, "a position"));
    float rgba[4];
    self.ramp.evaluate(position, rgba);
    if (!self.colorFlag) {
        rgba[3] = self.ramp.evaluateFloat(position);
    }
    return valueOf(self.colorFlag, rgba);
}

py::tuple listKeys(const Ramp &self)
{
    const py::object type = PYZrecord("RampKey");
    py::tuple keys(std::size_t(self.ramp.getNodeCount()));
    for (int i = 0; i < self.ramp.getNodeCount(); ++i) {
        const KIT_RampNode &node = *self.ramp.getNode(i);
        const float rgba[4] = {node.red, node.green, node.blue, node.alpha};
        keys[std::size_t(i)] = type(NODrampNumber(node.position), valueOf(self.colorFlag, rgba),
                                    ZELgetRampInterpToken(ZELgetRampInterp(node.basis)));
    }
    return keys;
}

std::string screenColor(const Ramp &self, const py::object &position)
{
    if (!self.colorFlag) {
        throw py::type_error(self.name + " has no colors");
    }
    return NODscreenColor(self.ramp, float(PYZtoNumber(position, "a position")));
}

std::vector<NOD_PlotPoint> pointsOf(py::handle pairs)
{
    std::vector<NOD_PlotPoint> points;
    for (const py::handle pair : pairs) {
        const py::tuple both(py::reinterpret_borrow<py::object>(pair));
        if (both.size() != 2) {
            throw py::value_error("a point has a position and a value");
        }
        points.push_back({both[0].cast<double>(), both[1].cast<double>()});
    }
    return points;
}

/// Each curve is its points and its keys.
py::str drawCurves(const py::object &curves, const py::object &title)
{
    std::vector<NOD_PlotCurve> all;
    for (const py::handle curve : curves) {
        const py::tuple both(py::reinterpret_borrow<py::object>(curve));
        if (both.size() != 2) {
            throw py::value_error("a curve has points and keys");
        }
        all.push_back({pointsOf(both[0]), pointsOf(both[1])});
    }
    return PYZtext(NODdrawCurves(std::move(all), PYZfromText(title, "a title")));
}

} // namespace

void PYZdefineRamp(py::module_ &module)
{
    py::class_<Ramp> type(module, "Ramp", py::is_final(),
                          R"(A ramp as it was at a time: see Parm.ramp().

Positions usually are 0 to 1. Before the first key and after the last one a ramp stays what it is there.

>>> script = 'parm { name "falloff" type ramp_flt default { 2 } }'
>>> ramp = zel.Scene().add("fog", zel.Interface.from_text(script, "fog"))["falloff"].ramp()
>>> [(key.position, key.value) for key in ramp.keys], ramp.at(0.25)
([(0.0, 0.0), (1.0, 1.0)], 0.0)
)");
    type.def("__repr__", [](const Ramp &self) {
        return "<zel.Ramp '" + self.name + "': " + std::to_string(self.ramp.getNodeCount()) +
               (self.ramp.getNodeCount() == 1 ? " key" : " keys") +
               (self.colorFlag ? " of colors>" : ">");
    });
    type.def_property_readonly(
        "name", [](const Ramp &self) { return PYZtext(self.name); }, "The name of the parameter.");
    type.def_property_readonly(
        "is_color", [](const Ramp &self) { return self.colorFlag; },
        "Whether its values are (red, green, blue), in linear light.");
    type.def_property_readonly("keys", listKeys,
                               "Its keys in the order of their positions, each a zel.RampKey.");
    type.def("at", at, py::arg("position"),
             "at(position) -> float or (red, green, blue)\n\nThe value at a position.");
    type.def(
        "screen_color", screenColor, py::arg("position"),
        "screen_color(position) -> str\n\nThe color at a position as screens have it: '#ffe0c0'.");
    type.def(
        "svg",
        [](const Ramp &self, const py::object &title) {
            return PYZtext(
                NODdrawRamp(self.ramp, self.colorFlag,
                            title.is_none() ? self.name : PYZfromText(title, "a title")));
        },
        py::arg("title") = py::none(),
        "svg(title=None) -> str\n\nThe picture that `zel ramp` draws; without a title its name is.");
    module.def("_draw_curves", drawCurves, py::arg("curves"), py::arg("title"));

    const py::object parm = module.attr("Parm");
    parm.attr("ramp") =
        py::cpp_function(rampOf, py::name("ramp"), py::is_method(parm),
                         py::arg("time") = py::none(), py::arg("frame") = py::none(),
                         R"(ramp(time=None, frame=None) -> Ramp

The ramp as it is at a time in seconds, or at a frame; without either at the scene's time.

>>> script = 'parm { name "falloff" type ramp_flt default { 2 } }'
>>> node = zel.Scene().add("fog", zel.Interface.from_text(script, "fog"))
>>> node["falloff"].ramp().at(1)
1.0
)");
}
