// Renders while an artist works: one thread drags lights and adds filters, one saves the scene, and two render frames,
// each from the scene as it was when the frame began.
//
//     renders [SECONDS]
//
// Prints how many frames a second were rendered, and how many of them weren't the version that they began with: each is
// compared with what the scene itself said when the version was made. Exit 1 if there is one, 2 for wrong arguments.

#include <BAS/BAS_Thread.h>
#include <NOD/NOD_Drag.h>
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_SceneFile.h>
#include <NOD/NOD_Snapshot.h>
#include <NOD/NOD_UndoStack.h>
#include <ZEL/ZEL_Parm.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>

namespace
{

constexpr int theLights = 20;
constexpr int theFrames = 4; ///< of a version, from frame 1 on
constexpr const char *theScript = R"script({ name light
    parm { name t type vector3 size 3 }
    parm { name power type float default { "1 + 0.5 * sin($F * 15)" } }
    parm { name brightest type float default { "max(ch('power'), ch('../light0/power')) + ch('tx')" } }
    multiparm { name filters parm { name amount# type float default { 0.5 } } } })script";

/// Stands for a picture of a frame: the sum of all numbers of the scene.
using Picture = double;

struct Version
{
    std::shared_ptr<const NOD_Snapshot> scene;
    Picture pictures[theFrames]; ///< as the live scene gave them
};

double timeOf(const NOD_Scene &scene, int frame)
{
    return scene.frameToTime(1.0 + frame);
}

Picture render(NOD_Scene &scene, double time)
{
    const int thread = BASgetSTID();
    Picture sum = 0.0;
    for (const auto &light : scene.getRoot().getChildren()) {
        const ZEL_ParmList &parms = light->getParms();
        for (int i = 0; i < parms.getEntries(); ++i) {
            for (int k = 0; k < parms.getParmPtr(i)->getVectorSize(); ++k) {
                double value = 0.0;
                parms.getParmPtr(i)->getValue(time, value, k, thread);
                sum += value;
            }
        }
    }
    return sum;
}

Picture render(const NOD_Snapshot &scene, double time)
{
    const int thread = BASgetSTID();
    Picture sum = 0.0;
    for (const std::string &path : scene.getPaths()) {
        for (const NOD_SnapshotHandle &handle : scene.findAll(path)) {
            sum += scene.getNumber(handle, time, thread);
        }
    }
    return sum;
}

/// What the threads share.
struct Studio
{
    std::mutex sceneMutex; ///< of who edits and who saves; renders don't take it
    NOD_Scene scene;
    std::mutex shelfMutex; ///< of the pointer
    std::shared_ptr<const Version> shelf;
    std::atomic<bool> endFlag{false};
    std::atomic<long> frames{0};
    std::atomic<long> wrongFrames{0};
    std::atomic<long> saves{0};
};

void publish(Studio &studio)
{
    auto version = std::make_shared<Version>();
    for (int frame = 0; frame < theFrames; ++frame) {
        version->pictures[frame] = render(studio.scene, timeOf(studio.scene, frame));
    }
    version->scene = studio.scene.snapshot();
    const std::lock_guard<std::mutex> lock(studio.shelfMutex);
    studio.shelf = std::move(version);
}

void edit(Studio &studio, int step)
{
    const std::lock_guard<std::mutex> lock(studio.sceneMutex);
    NOD_Scene &scene = studio.scene;
    NOD_Node &light = *scene.find(("/light" + std::to_string(step % theLights)).c_str());
    {
        NOD_Drag drag(scene, "Drag light");
        for (int i = 0; i < 10; ++i) {
            NOD_Edit(scene, "Drag light").set(light, "tx", std::sin(0.1 * (step + i)));
        }
    }
    if (step % 7 == 0) {
        NOD_Edit(scene, "Add filter").insertItem(light, "filters", 0);
    } else if (step % 11 == 0) {
        scene.getUndo().undo();
    }
    publish(studio);
}

void work(Studio &studio)
{
    for (int step = 0; !studio.endFlag; ++step) {
        edit(studio, step);
    }
}

void save(Studio &studio)
{
    while (!studio.endFlag) {
        std::ostringstream file;
        NOD_Report report;
        {
            const std::lock_guard<std::mutex> lock(studio.sceneMutex);
            NOD_SceneFile::save(studio.scene, file, NOD_SaveOptions(), report);
        }
        ++studio.saves;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}

void renderFrames(Studio &studio)
{
    while (!studio.endFlag) {
        std::shared_ptr<const Version> version;
        {
            const std::lock_guard<std::mutex> lock(studio.shelfMutex);
            version = studio.shelf;
        }
        for (int frame = 0; frame < theFrames; ++frame) {
            const double time = frame / version->scene->getFrameRate();
            studio.wrongFrames += render(*version->scene, time) != version->pictures[frame];
            ++studio.frames;
        }
    }
}

bool makeScene(NOD_Scene &scene)
{
    NOD_Report report;
    const auto type = NOD_Interface::fromText(theScript, "light", report);
    for (int i = 0; i < theLights && type; ++i) {
        scene.add("/light" + std::to_string(i), type, report);
    }
    std::cerr << report.asText();
    return report.isEmpty();
}

} // namespace

int main(int argc, char **argv)
{
    char *end = nullptr;
    const double seconds = argc > 1 ? std::strtod(argv[1], &end) : 2.0;
    if (argc > 2 || (end && *end != '\0') || !(seconds > 0.0 && seconds < 1e6)) {
        std::cerr << "usage: renders [SECONDS]\n";
        return 2;
    }
    Studio studio;
    if (!makeScene(studio.scene)) {
        return 1;
    }
    publish(studio);
    std::thread threads[] = {std::thread([&] { work(studio); }), std::thread([&] { save(studio); }),
                             std::thread([&] { renderFrames(studio); }),
                             std::thread([&] { renderFrames(studio); })};
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    studio.endFlag = true;
    for (std::thread &thread : threads) {
        thread.join();
    }
    std::printf(
        "%.0f frames a second beside %ld saves; %ld weren't the version that they began with\n",
        double(studio.frames) / seconds, long(studio.saves), long(studio.wrongFrames));
    return studio.wrongFrames == 0 && studio.frames > 0 ? 0 : 1;
}
