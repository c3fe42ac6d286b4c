#include <ZEL/ZEL_SharedMenus.h>

#include <ZEL/ZEL_Name.h>

namespace
{

ZEL_Name theToggleNames[] = {
    {"off"},
    {"on"},
    {},
};

// In the order of ZEL_RampInterpType.
// clang-format off
ZEL_Name theRampInterpNames[] = {
    {"constant", "Constant"},
    {"linear", "Linear"},
    {"catmull-rom", "Catmull-Rom"},
    {"monotonecubic", "Monotone Cubic"},
    {"bezier", "Bezier"},
    {"bspline", "B-Spline"},
    {"hermite", "Hermite"},
    {},
};
// clang-format on

} // namespace

ZEL_ChoiceList ZELtoggleMenu(ZEL_CHOICELIST_EXCLUSIVE, theToggleNames);
ZEL_ChoiceList zelRampInterpMenu(ZEL_CHOICELIST_EXCLUSIVE, theRampInterpNames);
