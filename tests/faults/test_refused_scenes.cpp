// The same for files of scenes.

#include "Refusal.h"

#include <NOD/NOD_SceneFile.h>
#include <node/RandomScene.h>

#include <sstream>

namespace
{

std::string savedScene(NOD_Scene &scene, NOD_SaveOptions::Form form, NOD_Report &report)
{
    NOD_SaveOptions options;
    options.form = form;
    std::ostringstream os;
    return NOD_SceneFile::save(scene, os, options, report) && !report.hasErrors() ? os.str() : "";
}

/// A node of each kind of interface, with a block, spares, channels and a type that is missing.
void makeScene(NOD_Scene &scene)
{
    NOD_Report report;
    scene.addInterface(RandomScene::application());
    NOD_Node &a = *scene.add("/a", RandomScene::application(), report);
    NOD_Node &b = *scene.add(
        "/a/b",
        NOD_Interface::fromText(
            "{ name odd parm { name v } multiparm { name m parm { name w# } } }", "odd", report),
        report);
    scene.add("/c", nullptr, report)->keepSections("gone", {{"values", "x"}, {"later", "y"}});
    a.getParms().getParmPtr("power")->setExpression(0.0, "ch(\"b/v\")", TRK_LANGUAGE_NATIVE, 0,
                                                    true, true, true);
    b.getParms().setFloat(2.0, "m", 0, 0.0, false);
    b.getParms().evalFloat("m", 0, 0.0);
    b.getParms().setChannelAlias(b.getParms().getParmPtr("v"), 0, "u");
    static ZEL_Name extra("extra", "Extra");
    b.addSpareParm(ZEL_Template(ZEL_FLT, 1, &extra));
    scene.getRoot().setVariable("V", "1");
}

template <NOD_SaveOptions::Form form>
struct WritingAScene
{
    WritingAScene() { makeScene(scene); }
    bool run()
    {
        NOD_Report report;
        saved = savedScene(scene, form, report);
        return !saved.empty();
    }
    std::string text(Texts texts) { return texts == Texts::READ ? saved : ""; }
    NOD_Scene scene;
    std::string saved;
};

template <NOD_SaveOptions::Form form>
struct ReadingAScene
{
    ReadingAScene() { scene.addInterface(RandomScene::application()); }
    bool run()
    {
        static const std::string bytes = [] {
            NOD_Scene made;
            NOD_Report report;
            makeScene(made);
            return savedScene(made, form, report);
        }();
        std::istringstream is(bytes);
        NOD_Report report;
        return NOD_SceneFile::load(scene, is, "scene", {}, report) && !report.hasErrors();
    }
    std::string text(Texts texts)
    {
        NOD_Report report;
        return texts == Texts::READ ? savedScene(scene, form, report) : "";
    }
    NOD_Scene scene;
};

using WritingASceneAsText = WritingAScene<NOD_SaveOptions::Form::TEXT>;
using WritingASceneInBinary = WritingAScene<NOD_SaveOptions::Form::BINARY>;
using ReadingASceneOfText = ReadingAScene<NOD_SaveOptions::Form::TEXT>;
using ReadingASceneInBinary = ReadingAScene<NOD_SaveOptions::Form::BINARY>;
REFUSE_EACH(WritingASceneAsText)
REFUSE_EACH(WritingASceneInBinary)
REFUSE_EACH(ReadingASceneOfText)
REFUSE_EACH(ReadingASceneInBinary)

} // namespace
