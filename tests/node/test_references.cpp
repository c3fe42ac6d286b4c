// A change of the tree looks at what refers to the node alone: that it misses none is shown by a scan of all
// parameters of the scene.

#include <multi/MultiList.h>
#include <node/SceneEdits.h>

#include <NOD/NOD_References.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Segment.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

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
        return below(5) == 0 ? (below(3) ? name : "..") // followed where nodes' paths are wanted
               : below(3)    ? path
                             : "two/words " + path + "/";
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
        const int kind = below(9);
        if (kind < 5) {
            parm->addChannel(0);
        }
        TRK_Channel *const channel = parm->getChannel(0);
        switch (kind) {
        case 0:
            channel->getSegment(0)->changeExpression(expression.c_str(), TRK_LANGUAGE_NATIVE);
            break;
        case 1: channel->setDefaultString(expression.c_str()); break;
        case 2: { // for case 5
            KIT_String value;
            channel->getSegment(0)->changeExpression(("\"" + path + "\"").c_str(),
                                                     TRK_LANGUAGE_NATIVE);
            parm->getValue(0.0, value, 0, true, BASgetSTID());
            break;
        }
        case 3: {
            TRK_Collection others;
            TRK_Channel *const foreign = others.addChannel("foreign");
            foreign->initializeFirstSegment(expression.c_str(), TRK_LANGUAGE_NATIVE);
            channel->copyContents(*foreign);
            break;
        }
        case 4: {
            const std::string text = "channels 1.0 { channel " + std::string(token) +
                                     " { default 1 key 0 1 \"ch('" + path + "/v')\" } }";
            KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
            node.getChannels().load(is);
            break;
        }
        case 5: // the last result is what is left of an expression
            node.getChannels().deleteChannel(channel);
            break;
        case 6: {
            std::ostringstream os;
            const bool binary = below(2) == 0;
            anyNode().getParms().save(os, binary, false);
            const std::string bytes = os.str();
            KIT_IStream is(bytes.data(), bytes.size(),
                           binary ? KIT_IStream::BINARY : KIT_IStream::TEXT);
            list.load(is, nullptr, nullptr);
            break;
        }
        default:
            list.setString(
                KIT_String(below(2) ? path.c_str() : ("`" + expression + "`").c_str(), true),
                TRK_MEANING_LITERAL, token, 0, 0.0, false);
        }
        takeMessages();
    }
    /// By a scan of all parameters: where each of them leads, by its node and token.
    using Leads = std::map<std::pair<NOD_Node *, std::string>, std::map<std::string, NOD_Node *>>;
    Leads scan()
    {
        Leads leads;
        for (NOD_Node *node : nodes()) {
            NOD_References::forEachPath(*node, [&](const auto &token, const std::string &path) {
                NOD_Node *const target = node->findNode(path.c_str());
                leads[{node, token.c_str()}][path] = target;
                return target != nullptr;
            });
        }
        return leads;
    }
    /// One that is referred to, or any.
    NOD_Node &anyTarget(const Leads &leads)
    {
        std::vector<NOD_Node *> targets;
        for (const auto &[from, paths] : leads) {
            for (const auto &[text, target] : paths) {
                if (target && target->getParent()) {
                    targets.push_back(target);
                }
            }
        }
        return targets.empty() || below(3) == 0 ? anyNode()
                                                : *targets[std::size_t(below(int(targets.size())))];
    }
    /// An operation after which all that led to a node leads to the same, or to its copy.
    void changeTree()
    {
        NOD_Node &parent = anyParent();
        const std::string name(1, char('a' + below(6)));
        const Leads before = scan();
        NOD_Node &node = anyTarget(before);
        std::unordered_map<NOD_Node *, NOD_Node *> copies;
        report.clear();
        switch (below(12)) {
        default: changes += scene.rename(node, name, report) ? 1 : 0; break;
        case 0:
        case 1: changes += scene.move(node, parent, report) ? 1 : 0; break;
        case 2:
            if (NOD_Node *const copy =
                    nodes().size() < 9
                        ? scene.copy(node, parent, NOD_Scene::freeName(parent, name), report)
                        : nullptr) {
                match(node, *copy, copy, copies);
            }
            break;
        case 3: remove(node, before); return;
        }
        const Leads after = scan();
        for (const auto &[from, paths] : before) {
            const auto copy = copies.find(from.first);
            for (const auto &[text, target] : paths) {
                const auto twin = copies.find(target);
                expectLead(after, from, target);
                if (copy != copies.end()) {
                    expectLead(after, {copy->second, from.second},
                               twin == copies.end() ? target : twin->second);
                }
            }
        }
        takeMessages();
    }
    /// Or it is told that it can't be written, such as a node's own path as a word, ".".
    void expectLead(const Leads &all, const Leads::key_type &from, const NOD_Node *target)
    {
        const auto now = all.find(from);
        const std::string parm = pathOf(*from.first) + "/" + from.second;
        const auto leads = [&](const auto &path) { return path.second == target; };
        EXPECT_TRUE(
            !target || report.asText().find(parm + ": warning:") != std::string::npos ||
            (now != all.end() && std::any_of(now->second.begin(), now->second.end(), leads)))
            << parm << " to " << pathOf(*target);
    }
    void remove(NOD_Node &node, const Leads &before)
    {
        const auto isGone = [&](const NOD_Node *at) {
            for (; at && at != &node; at = at->getParent()) {
            }
            return at != nullptr;
        };
        std::set<std::pair<NOD_Node *, std::string>> lost;
        for (const auto &[from, paths] : before) {
            for (const auto &[text, target] : paths) {
                if (!isGone(from.first) && isGone(target)) {
                    lost.emplace(from.first, text);
                }
            }
        }
        const std::string path = pathOf(node);
        scene.remove(node, report);
        EXPECT_EQ(report.asText(), lost.empty()
                                       ? ""
                                       : path + ": warning: " + std::to_string(lost.size()) +
                                             " references of other nodes lead here\n");
        losses += int(lost.size());
    }
    /// The copy may be below what was copied.
    void match(NOD_Node &original, NOD_Node &copy, const NOD_Node *top,
               std::unordered_map<NOD_Node *, NOD_Node *> &copies)
    {
        copies[&original] = &copy;
        for (const auto &child : copy.getChildren()) {
            NOD_Node *const same = original.getChild(child->getName());
            if (same && same != top) {
                match(*same, *child, top, copies);
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
    const long programs = numberFromEnvironment("ZEL_TEST_OPERATIONS", 10000) / 1000;
    int changes = 0;
    int losses = 0;
    for (unsigned i = 0; i < unsigned(programs); ++i) {
        Program program(seed + i);
        for (int step = 0; step < 400; ++step) {
            if (program.nodes().size() < 6) {
                program.scene.add("/" + std::string(1, char('a' + program.below(6))), program.item,
                                  program.report);
            }
            switch (program.below(8)) {
            case 0: program.edit(); break;
            case 1:
                NOD_Edit(program.scene, "v")
                    .expression(program.anyNode(), "v", "ch('" + program.anyReference() + "/v')");
                break;
            case 2: // of more than the last change of the tree
                for (int more = program.below(4); more >= 0; --more) {
                    program.undo().undo();
                }
                break;
            case 3: program.undo().redo(); break;
            default: program.editQuietly(program.anyNode());
            }
            program.changeTree();
            ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed + i << ", step " << step;
        }
        changes += program.changes;
        losses += program.losses;
    }
    EXPECT_GT(changes, 20 * programs);
    EXPECT_GT(losses, programs);
    takeMessages();
}
