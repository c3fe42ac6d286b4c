// A change of the tree looks at what refers to the node alone: that it misses none is shown by a scan of all
// parameters of the scene.

#include <multi/MultiList.h>
#include <node/SceneEdits.h>

#include <NOD/NOD_References.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Segment.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <unordered_map>

namespace
{

struct Program : SceneEdits
{
    using SceneEdits::SceneEdits;

    /// A text that refers to a node, or to none yet.
    std::string anyReference()
    {
        const std::string name(1, char('a' + below(6)));
        const std::string path = below(3)   ? pathOf(anyNode())
                                 : below(2) ? "../" + name
                                            : pathOf(anyNode()) + "/../" + name;
        return below(3) ? path : "two/words " + path + "/";
    }
    /// Changes that raise no event, or reach the node by a way around its parameters.
    void editQuietly(NOD_Node &node)
    {
        ZEL_ParmList &list = node.getParms();
        const char *const token = below(2) ? "text" : "words";
        ZEL_Parm *const parm = list.getParmPtr(token);
        const std::string path = anyReference();
        const std::string expression = "chs(\"" + path + "/text\")";
        if (!parm) {
            return;
        }
        switch (below(7)) {
        case 0:
            list.setString(KIT_String(("`" + expression + "`").c_str(), true),
                           TRK_MEANING_LITERAL, token, 0, 0.0, false);
            break;
        case 1:
            parm->addChannel(0);
            parm->getChannel(0)->getSegment(0)->changeExpression(expression.c_str(),
                                                                 TRK_LANGUAGE_NATIVE);
            break;
        case 2:
            parm->addChannel(0);
            parm->getChannel(0)->setDefaultString(expression.c_str());
            break;
        case 3: { // the last result is what is left of an expression
            parm->addChannel(0);
            parm->getChannel(0)->changeExpression(0.0, ("\"" + path + "\"").c_str(),
                                                  TRK_LANGUAGE_NATIVE, false);
            KIT_String value;
            parm->getValue(0.0, value, 0, true, BASgetSTID());
            node.getChannels().deleteChannel(parm->getChannel(0));
            break;
        }
        case 4: {
            std::ostringstream os;
            const bool binary = below(2) == 0;
            anyNode().getParms().save(os, binary, false);
            const std::string bytes = os.str();
            KIT_IStream is(bytes.data(), bytes.size(),
                           binary ? KIT_IStream::BINARY : KIT_IStream::TEXT);
            list.load(is, nullptr, nullptr);
            break;
        }
        case 5: {
            TRK_FullKey key;
            key.time = below(3);
            key.expression = KIT_StringHolder(("ch('" + path + "/v')").c_str());
            list.getParmPtr("v")->addChannel(0);
            list.getParmPtr("v")->getChannel(0)->putFullKey(key);
            break;
        }
        default: list.setString(KIT_String(path.c_str(), true), TRK_MEANING_LITERAL, token, 0, 0.0, true);
        }
        takeMessages();
    }
    /// What a scan of the whole scene finds to do after the operation: it is nothing.
    void changeTree()
    {
        NOD_Node &node = anyNode();
        NOD_Node &parent = anyParent();
        const std::string name(1, char('a' + below(6)));
        const bool roomFlag = nodes().size() < 9;
        NOD_References all(scene.getRoot());
        report.clear();
        const std::string path = pathOf(node);
        switch (below(5)) {
        case 0:
        case 1: changes += scene.rename(node, name, report) ? 1 : 0; break;
        case 2: changes += scene.move(node, parent, report) ? 1 : 0; break;
        case 3:
            if (NOD_Node *const copy =
                    roomFlag ? scene.copy(node, parent, NOD_Scene::freeName(parent, name), report)
                             : nullptr) {
                std::unordered_map<NOD_Node *, NOD_Node *> copies;
                match(node, *copy, copy, copies);
                all.copied(copies);
            }
            break;
        default: {
            const int lost = all.forget(node);
            scene.remove(node, report);
            EXPECT_EQ(report.asText(), lost ? path + ": warning: " + std::to_string(lost) +
                                                  " references of other nodes lead here\n"
                                            : "");
            losses += lost;
        }
        }
        for (const NOD_References::Change &missed : all.rewrite()) {
            ADD_FAILURE() << pathOf(*missed.node) << "/"
                          << missed.node->getParms().getParmPtr(missed.parmIndex)->getToken()
                          << " was missed";
        }
        takeMessages();
    }
    /// The copy may be below what was copied.
    void match(NOD_Node &original, NOD_Node &copy, const NOD_Node *top,
               std::unordered_map<NOD_Node *, NOD_Node *> &copies)
    {
        copies[&original] = &copy;
        for (const auto &child : original.getChildren()) {
            NOD_Node *const same = copy.getChild(child->getName());
            if (same && child.get() != top) {
                match(*child, *same, top, copies);
            }
        }
    }

    int changes = 0;
    int losses = 0;
};

} // namespace

TEST(References, NoneIsMissed)
{
    const unsigned seed = unsigned(numberFromEnvironment("ZEL_TEST_SEED", 1));
    const long programs = numberFromEnvironment("ZEL_TEST_OPERATIONS", 10000) / 400;
    int changes = 0;
    int losses = 0;
    for (unsigned i = 0; i < unsigned(programs); ++i) {
        Program program(seed + i);
        for (int step = 0; step < 400; ++step) {
            if (program.nodes().size() < 6) {
                program.scene.add("/" + std::string(1, char('a' + program.below(6))), program.item,
                                  program.report);
            }
            switch (program.below(6)) {
            case 0: program.edit(); break;
            case 1: program.below(2) ? program.undo().undo() : program.undo().redo(); break;
            case 2: program.changeTree(); break;
            default: program.editQuietly(program.anyNode());
            }
            ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed + i << ", step " << step;
        }
        changes += program.changes;
        losses += program.losses;
    }
    EXPECT_GT(changes, 20 * programs);
    EXPECT_GT(losses, programs);
    takeMessages();
}
