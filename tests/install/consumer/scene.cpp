// A small application on the node layer: three node types, references between nodes, conditions, a menu in
// Python, undo, one file, two threads.
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_InterfaceBuilder.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_SceneFile.h>
#include <NOD/NOD_UndoStack.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_FloatHandle.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parms.h>
#include <ZEL/ZEL_StringHandle.h>
#include <array>
#include <cstdio>
#include <string>
#include <thread>

static const char *const theCameraScript = R"({
    name  camera
    label "Camera"
    parm { name aim    label "Aim"    type oppath default { "/rig/key" } }
    parm { name focal  label "Focal"  type float  default { "50" } }
    parm { name gate   label "Gate"   type string default { "35" }
           menu { [ "return ['16', '16 mm', '35', '35 mm']" ] language python } }
    parm { name focus  label "Focus"  type float  default { "1" } disablewhen "{ gate == 16 }" }
})";

static std::shared_ptr<const NOD_Interface> describeLight(NOD_Report &report)
{
    NOD_InterfaceBuilder light("light", "Light");
    light.add(ZEL_XYZ, "t", "Translate").size(3);
    light.add(ZEL_TOGGLE, "on", "On").defaultTo(1);
    light.add(ZEL_FLT, "intensity", "Intensity").hardRange(0, 100).disableWhen("{ on == off }");
    light
        .block("filters", "Filters",
               [](NOD_InterfaceBuilder &item) { item.add(ZEL_FLT, "amount#", "Amount #"); })
        .items(1);
    return light.make(report);
}

static std::shared_ptr<const NOD_Interface> describeRig(NOD_Report &report)
{
    NOD_InterfaceBuilder rig("rig", "Rig");
    rig.add(ZEL_FLT, "height", "Height").defaultTo(3);
    return rig.make(report);
}

static void tell(NOD_Scene &scene, const char *when)
{
    const double time = scene.getTime();
    const auto value = [&](const char *path, const char *name) {
        return ZEL_FloatHandle(scene.find(path)->getParms(), name)(time);
    };
    const ZEL_Parm *intensity = ZELfindParm(scene.find("/rig/key")->getParms(), "intensity");
    std::printf("%s: key at %g, intensity %g (%s), focal %g\n", when, value("/rig/key", "ty"),
                value("/rig/key", "intensity"),
                intensity->getEnableState(0) ? "enabled" : "disabled", value("/camera", "focal"));
}

/// The sum of a light's intensity over a hundred frames.
static double sample(NOD_Scene &scene)
{
    const ZEL_FloatHandle intensity(scene.find("/rig/key")->getParms(), "intensity");
    double sum = 0.0;
    for (int frame = 1; frame <= 100; ++frame) {
        sum += intensity(scene.frameToTime(frame));
    }
    return sum;
}

int main()
{
    NOD_Report report;
    NOD_Scene scene;
    scene.addInterface(describeRig(report));
    scene.addInterface(describeLight(report));
    scene.addInterface(NOD_Interface::fromText(theCameraScript, "camera.ds", report));
    scene.add("/rig", scene.findInterface("rig"), report);
    NOD_Node &key = *scene.add("/rig/key", scene.findInterface("light"), report);
    NOD_Node &camera = *scene.add("/camera", scene.findInterface("camera"), report);
    {
        NOD_Edit edit(scene, "Set up");
        edit.expression(key, "ty", "ch('../height') + 1");
        edit.key(key, "intensity", scene.frameToTime(1), 0.0);
        edit.key(key, "intensity", scene.frameToTime(25), 12.0);
        edit.expression(camera, "focal", "35 + ch('/rig/key/intensity')");
        edit.set(key, "filters", 3);
    }
    scene.setFrame(13);
    tell(scene, "made");

    NOD_Edit(scene, "Switch off").set(key, "on", 0);
    tell(scene, "off");
    scene.getUndo().undo();
    tell(scene, "undone");
    scene.getUndo().redo();
    tell(scene, "redone");

    const ZEL_Parm *gate = ZELfindParm(camera.getParms(), "gate");
    const ZEL_Name *entry = nullptr;
    gate->getChoiceListPtr()->getChoiceNames(entry, gate->getParmOwner(), nullptr, gate, false);
    for (; entry && !entry->isSentinel(); ++entry) {
        std::printf("gate %s: %s\n", entry->getToken(), entry->getLabel());
    }

    NOD_SceneFile::save(scene, "small.scene", {}, report);
    NOD_SceneFile::load(scene, "small.scene", {}, report);
    tell(scene, "loaded");
    std::array<double, 2> sums{};
    std::thread other([&] { sums[1] = sample(scene); });
    sums[0] = sample(scene);
    other.join();
    std::printf("two threads: %g %g\n%s", sums[0], sums[1], report.asText().c_str());
    return report.isEmpty() ? 0 : 1;
}
