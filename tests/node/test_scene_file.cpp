// Scenes and nodes in files: what is saved is loaded, to the same bytes; what can't be is told and kept.

#include <NOD/NOD_NodeFile.h>
#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_SceneFile.h>
#include <node/RandomScene.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace
{

using Form = NOD_SaveOptions::Form;
using Values = NOD_SaveOptions::Values;
using Interfaces = NOD_SaveOptions::Interfaces;
using Scripts = NOD_LoadOptions::Scripts;

NOD_SaveOptions saveOptions(Form form, Values values = Values::ALL,
                            Interfaces interfaces = Interfaces::AS_MADE)
{
    NOD_SaveOptions options;
    options.form = form;
    options.values = values;
    options.interfaces = interfaces;
    return options;
}

std::string saved(NOD_Scene &scene, const NOD_SaveOptions &options, NOD_Report &report)
{
    std::ostringstream os;
    EXPECT_TRUE(NOD_SceneFile::save(scene, os, options, report));
    return os.str();
}

bool load(NOD_Scene &scene, const std::string &bytes, NOD_Report &report,
          const NOD_LoadOptions &options = {})
{
    std::istringstream is(bytes);
    return NOD_SceneFile::load(scene, is, "scene", options, report);
}

/// The first line of each that the other doesn't have there; "" for the same bytes.
std::string difference(const std::string &a, const std::string &b)
{
    const std::size_t at =
        std::size_t(std::mismatch(a.begin(), a.begin() + long(std::min(a.size(), b.size())),
                                  b.begin())
                        .first -
                    a.begin());
    const auto around = [&](const std::string &text) {
        const std::size_t start = at > 300 ? at - 300 : 0;
        return text.substr(start, text.find('\n', std::min(at, text.size())) - start);
    };
    return a == b ? "" : around(a) + "\n--- but ---\n" + around(b);
}

struct Loaded
{
    explicit Loaded(const std::string &bytes, const NOD_LoadOptions &options = {})
    {
        scene.addInterface(RandomScene::application());
        isScene = load(scene, bytes, report, options);
    }
    std::string save(Form form = Form::TEXT, Values values = Values::ALL,
                     Interfaces interfaces = Interfaces::AS_MADE)
    {
        NOD_Report saving;
        const std::string bytes = saved(scene, saveOptions(form, values, interfaces), saving);
        EXPECT_TRUE(saving.isEmpty()) << saving.asText();
        return bytes;
    }

    NOD_Report report;
    NOD_Scene scene;
    bool isScene;
};

// ---------------------------------------------------------------------- //
// Laws
// ---------------------------------------------------------------------- //

TEST(SceneFile, IsReadBackToTheSameBytes)
{
    for (unsigned seed = 1; seed <= 12; ++seed) {
        RandomScene made(seed);
        made.scene.makeCurrent();
        const std::string contents = RandomScene::contents(made.scene);
        for (const Form form : {Form::TEXT, Form::BINARY}) {
            for (const Values values : {Values::ALL, Values::CHANGED}) {
                for (const Interfaces interfaces : {Interfaces::AS_MADE, Interfaces::AS_TEXTS}) {
                    const NOD_SaveOptions options = saveOptions(form, values, interfaces);
                    const std::string bytes = saved(made.scene, options, made.report);
                    ASSERT_TRUE(made.report.isEmpty()) << made.report.asText();
                    Loaded loaded(bytes);
                    ASSERT_TRUE(loaded.report.isEmpty()) << loaded.report.asText();
                    loaded.scene.makeCurrent();
                    EXPECT_EQ(RandomScene::contents(loaded.scene), contents);
                    ASSERT_EQ(difference(loaded.save(form, values, interfaces), bytes), "") << seed;
                    // By way of the other form.
                    const Form other = form == Form::TEXT ? Form::BINARY : Form::TEXT;
                    Loaded again(loaded.save(other, values, interfaces));
                    ASSERT_EQ(difference(again.save(form, values, interfaces), bytes), "") << seed;
                }
            }
        }
    }
}

} // namespace
