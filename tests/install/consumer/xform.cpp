#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>
#include <cstdio>

int main()
{
    ZEL_Name tName("t", "Translate");
    ZEL_Template templates[] = {ZEL_Template(ZEL_XYZ, 3, &tName), ZEL_Template()};
    TRK_Collection channels;
    ZEL_ParmList list(templates, &channels, nullptr, nullptr, "xform", false);

    list.setFloat(2.5, "t", 0, 0.0, true);
    double x = list.evalFloat("t", 0, 0.0);
    double y = list.evalFloat("t", 1, 0.0);
    std::printf("t = %g %g\n", x, y);
    return 0;
}
