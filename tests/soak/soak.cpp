// Readers on all cores, for a given time: first while the thread that owns the nodes rests, each
// round on nodes that were not read before; then while it changes values, keys, expressions, counts and
// items between barriers. What every reader got is compared with what the owner reads alone.
//
//     soak [SECONDS] [THREADS] [SEED]
//
// It is meant for the thread sanitizer. Exit 1 at the first value that differs.

#include <NOD/NOD_Graph.h>
#include <NOD/NOD_Node.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_JSONValueMap.h>
#include <KIT/KIT_JSONWriter.h>
#include <KIT/KIT_Ramp.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_DataFactory.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmMicroNode.h>
#include <ZEL/ZEL_RampUtils.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TemplateBuilder.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <numeric>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace
{

using Random = std::mt19937;

constexpr const char *theScript = R"SCRIPT({
    name soak label "Soak"
    parm { name t label "Translate" type vector size 3 default { 1 2 3 } }
    parm { name r label "Rotate" type vector size 3 default { 0 [ "$T * 10" expression ] 0 } }
    parm { name scale label "Scale" type float default { 1 } range { 0! 10 } }
    parm { name far label "Far" type float
           default { [ "ch('../b/scale') + ch('tx') * $F" expression ] } }
    parm { name near label "Near" type float default { [ "ch('far') / 2 + ch('ry')" expression ] }
           hidewhen "{ lit == 0 }" }
    parm { name count label "Count" type integer size 2 default { 3 [ "$F + 1" expression ] } }
    parm { name lit label "Lit" type toggle default { 1 } disablewhen "{ scale > 5 kind == one }" }
    parm { name kind label "Kind" type ordinal menu { none "None" one "One" two "Two" } }
    parm { name file label "File" type file default { "$NODE/image.$F.pic" } }
    parm { name text label "Text" type string
           default { "at `ch('tx') + ch('../b/near')` of $NODE" } }
    parm { name driven label "Driven" type string size 2
           default { [ "chs('text')" expression ] [ "chs('../b/file')" expression ] } }
    parm { name which label "Which" type string default { "b" }
           menureplace { [ "return ['a', 'A', 'b', 'B', 'c', 'C']" ] language python } }
    parm { name data label "Data" type keyvaluedict }
    parm { name curve label "Curve" type ramp_flt default { 3 } range { 1! 10 } }
    parm { name band label "Band" type ramp_rgb default { 2 } range { 1! 10 } }
    multiparm { name items label "Items" default { 2 }
        parm { name "at#" label "At" type vector size 3 default { 1 0 0 } }
        parm { name "weight#" label "Weight" type float
               default { [ "ch('../b/scale') * $T" expression ] } }
        parm { name "title#" label "Title" type string default { "item `ch('count1')`" } }
    }
})SCRIPT";

ZEL_Template *templates()
{
    static const ZEL_TemplateBuilder theBuilder("soak", theScript, nullptr, 0);
    return theBuilder.templates();
}

// -------------------------------------------------------------------------- //
// The nodes, and what the owner does to them
// -------------------------------------------------------------------------- //

struct Nodes
{
    explicit Nodes(Random &random)
    {
        for (NOD_Node *node : {a, b}) {
            node->setVariable("NODE", node->getName());
            settleItems(*node);
        }
        for (int i = 0; i < 40; ++i) {
            change(random);
        }
    }

    /// Reading the count makes the items, which is the owner's task.
    static void settleItems(NOD_Node &node)
    {
        for (const char *token : {"items", "curve", "band"}) {
            node.getParms().evalInt(token, 0, 0.0);
        }
    }

    void change(Random &random)
    {
        NOD_Node &node = random() % 2 ? *a : *b;
        ZEL_ParmList &list = node.getParms();
        ZEL_Parm &parm = *list.getParmPtr(int(random() % unsigned(list.getEntries())));
        const int component = int(random() % unsigned(std::max(1, parm.getVectorSize())));
        const double value = int(random() % 64) * 0.25;
        if (parm.isMultiParm()) {
            list.setInt(int(random() % 5) + 1, parm.getToken(), 0, 0.0, true);
            settleItems(node);
        } else if (parm.getType().isDataType()) {
            setData(parm, value);
        } else if (parm.getType().isStringType()) {
            const std::string text = "`ch('tx')` or " + std::to_string(value) + " of $NODE at $F";
            list.setString(KIT_String(text.c_str(), true), TRK_MEANING_LITERAL, parm.getToken(),
                           component, 0.0, true);
        } else {
            changeNumber(parm, component, value, random);
        }
    }

    NOD_Node root;
    NOD_Node *a = root.addChild("a", templates(), "soak");
    NOD_Node *b = root.addChild("b", templates(), "soak");
    NOD_Graph graph{root};

private:
    static void setData(ZEL_Parm &parm, double value)
    {
        const std::string json =
            R"({"k":"`ch('tx')` )" + std::to_string(value) + R"(","v":["$NODE"]})";
        KIT_IStream is(json.data(), json.size(), KIT_IStream::TEXT);
        parm.getInstance()->setValue(0.0, ZEL_DataFactory::parseAscii("key_value_dict", is), false,
                                     0, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
    }

    static void changeNumber(ZEL_Parm &parm, int component, double value, Random &random)
    {
        ZEL_Instance &instance = *parm.getInstance();
        constexpr bool evaluate = false, replace = true, propagate = true;
        switch (random() % 4) {
        case 0:
            instance.setValue(0.0, value, replace, component, ZEL_ADDKEY_PENDING,
                              ZEL_KEYSET_PREFERENCE);
            break;
        case 1:
            for (double time : {0.0, 1.0, 3.0}) {
                instance.addChannel(component);
                instance.setValue(time, value + time * 2.0, false, component, ZEL_ADDKEY_FORCE,
                                  ZEL_KEYSET_COMMIT);
            }
            break;
        case 2:
            // No cycles: these read what the script leaves alone.
            parm.setExpression(0.0, "$F * 0.5 + ch('tz') + $T", TRK_LANGUAGE_NATIVE,
                               std::string(parm.getToken()) == "t" ? 0 : component, evaluate,
                               replace, propagate);
            break;
        default: parm.revertToDefaults(0.0);
        }
    }
};

// -------------------------------------------------------------------------- //
// Reading
// -------------------------------------------------------------------------- //

/// All that was read at one time, in an order that doesn't depend on the order of reading.
using Readings = std::vector<std::string>;

std::string bits(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%a", value);
    return text;
}

/// Its texts expanded.
std::string readDictionary(const ZEL_Parm &parm, int i, double time, int thread)
{
    KIT_JSONValueMap map;
    constexpr bool expand = true, binary = false;
    parm.getValue(time, map, i, expand, thread);
    KIT_WorkBuffer text;
    map.save(*KIT_JSONWriter::allocWriter(text, binary));
    return std::string(text.view());
}

std::string readComponent(const ZEL_Parm &parm, int i, double time, int thread)
{
    double number = 0.0;
    int integer = 0;
    KIT_String text, raw;
    parm.getValue(time, number, i, thread);
    parm.getValue(time, integer, i, thread);
    parm.getValue(time, text, i, true, thread);
    parm.getValue(time, raw, i, false, thread);
    parm.isTimeDependent(i);
    return bits(number) + " " + std::to_string(integer) + " '" + text.nonNullStr() + "' '" +
           raw.nonNullStr() + "' " + parm.getChannelToken(i).nonNullStr() +
           (parm.getType().isDataType() ? readDictionary(parm, i, time, thread) : "");
}

std::string readConditions(const ZEL_Parm &parm)
{
    std::string all;
    const ZEL_ConditionalBase *base = parm.getTemplatePtr()->getConditionalBasePtr();
    for (const ZEL_ConditionalType type : {ZEL_CONDTYPE_DISABLE, ZEL_CONDTYPE_HIDE}) {
        const ZEL_Conditional *condition = base ? base->getConditional(type) : nullptr;
        if (condition) {
            all += condition->eval(parm, *parm.getParmList(), nullptr) ? " holds" : " fails";
        }
    }
    return all;
}

std::string readMenu(const ZEL_Parm &parm)
{
    std::string all;
    const ZEL_ChoiceList *choices = parm.getTemplatePtr()->getChoiceListPtr();
    const ZEL_Name *names = nullptr;
    constexpr bool quiet = true;
    if (choices) {
        choices->getChoiceNames(names, nullptr, nullptr, &parm, quiet);
    }
    for (; names && names->getToken(); ++names) {
        all += std::string(" ") + names->getToken();
    }
    return all;
}

std::string readRamp(const ZEL_Parm &parm, double time)
{
    KIT_Ramp ramp;
    bool timeDependent = false;
    ZEL_RampUtils::updateRampFromMultiParm(time, parm, &ramp, &timeDependent, nullptr);
    std::string all;
    for (int i = 0; i < ramp.getNodeCount(); ++i) {
        const KIT_RampNode &node = *ramp.getNode(i);
        all += " " + bits(node.position) + bits(node.red) + bits(node.blue) + bits(node.alpha);
    }
    return all;
}

std::string readParm(ZEL_Parm &parm, double time, int thread, bool withMenus)
{
    std::string all = parm.getToken();
    for (int i = 0; i < parm.getVectorSize(); ++i) {
        // A count makes items when it is read as such.
        all += parm.isMultiParm() ? "" : " " + readComponent(parm, i, time, thread);
        all += parm.microNode(i) && parm.microNode(i)->subIndex() == i ? "" : " no graph node";
        parm.getParmList()->constParmMicroNode(parm.getParmList()->getParmIndex(&parm), i);
    }
    if (parm.getVectorSize() == 3) {
        double values[3] = {};
        parm.getValues(time, values, thread);
        all += " " + bits(values[0]) + bits(values[1]) + bits(values[2]);
    }
    if (parm.getTemplatePtr()->isRampType()) {
        all += readRamp(parm, time);
    }
    return all + readConditions(parm) + (withMenus ? readMenu(parm) : "");
}

/// Everything of both nodes at one time; parameters in an order of the reader's own.
Readings readAll(const Nodes &nodes, double time, Random &random)
{
    const int thread = BASgetSTID();
    ZEL_AutoBlockErrors block(thread);
    const TRK_EvalContext::Scope context(thread, time);
    Readings all;
    // The interpreter is one for all threads, and slow under a sanitizer.
    const bool withMenus = random() % 8 == 0;
    for (NOD_Node *node : {nodes.a, nodes.b}) {
        ZEL_ParmList &list = node->getParms();
        std::vector<int> order(std::size_t(list.getEntries()));
        std::iota(order.begin(), order.end(), 0);
        std::shuffle(order.begin(), order.end(), random);
        const std::size_t first = all.size();
        all.resize(first + order.size());
        for (const int i : order) {
            all[first + std::size_t(i)] = readParm(*list.getParmPtr(i), time, thread, withMenus);
        }
    }
    all.push_back(withMenus ? "menus" : "");
    return all;
}

// -------------------------------------------------------------------------- //
// Rounds
// -------------------------------------------------------------------------- //

class Barrier
{
public:
    explicit Barrier(int count) : myCount(count) {}

    void wait()
    {
        std::unique_lock<std::mutex> lock(myMutex);
        const int generation = myGeneration;
        if (++myWaiting == myCount) {
            myWaiting = 0;
            ++myGeneration;
            myCondition.notify_all();
            return;
        }
        myCondition.wait(lock, [&] { return myGeneration != generation; });
    }

private:
    std::mutex myMutex;
    std::condition_variable myCondition;
    int myCount;
    int myWaiting = 0;
    int myGeneration = 0;
};

struct Sample
{
    double time;
    Readings readings;
};

class Soak
{
public:
    Soak(int threads, unsigned seed)
        : myRandom(seed), myBarrier(threads + 1), mySamples(std::size_t(threads))
    {
        for (int i = 0; i < threads; ++i) {
            myThreads.emplace_back([this, i, seed] { read(i, seed); });
        }
    }
    ~Soak()
    {
        myNodes.reset();
        myBarrier.wait();
        for (std::thread &thread : myThreads) {
            thread.join();
        }
    }

    /// Rounds until the time is over; with `fresh` each on new nodes, else on changed ones.
    bool run(double seconds, bool fresh)
    {
        using Clock = std::chrono::steady_clock;
        const auto end = Clock::now() + std::chrono::duration<double>(seconds);
        do {
            if (fresh || !myNodes) {
                myNodes = std::make_unique<Nodes>(myRandom);
            } else {
                for (int i = 0; i < 8; ++i) {
                    myNodes->change(myRandom);
                }
            }
            myBarrier.wait(); // they read
            myBarrier.wait(); // they have read
            if (!check()) {
                return false;
            }
            ++myRounds;
        } while (Clock::now() < end);
        return true;
    }

    int getRounds() const { return myRounds; }
    long getReads() const { return myReads; }

private:
    void read(int number, unsigned seed)
    {
        Random random(seed * 1000003u + unsigned(number));
        for (;;) {
            myBarrier.wait();
            if (!myNodes) {
                return;
            }
            std::vector<Sample> &samples = mySamples[std::size_t(number)];
            samples.clear();
            for (int i = 0; i < 4; ++i) {
                const double time = int(random() % 5) * 0.5;
                samples.push_back({time, readAll(*myNodes, time, random)});
            }
            myBarrier.wait();
        }
    }

    bool check()
    {
        for (const std::vector<Sample> &samples : mySamples) {
            for (const Sample &sample : samples) {
                Readings alone;
                // The same menus: drawn again until they are.
                do {
                    alone = readAll(*myNodes, sample.time, myRandom);
                } while (alone.back() != sample.readings.back());
                if (!same(sample, alone)) {
                    return false;
                }
                myReads += long(alone.size());
            }
        }
        return true;
    }

    bool same(const Sample &sample, const Readings &alone) const
    {
        for (std::size_t i = 0; i < alone.size(); ++i) {
            if (i >= sample.readings.size() || sample.readings[i] != alone[i]) {
                std::fprintf(stderr, "round %d, time %g\n  among others: %s\n  alone:        %s\n",
                             myRounds, sample.time,
                             i < sample.readings.size() ? sample.readings[i].c_str() : "(nothing)",
                             alone[i].c_str());
                return false;
            }
        }
        return true;
    }

    Random myRandom;
    Barrier myBarrier;
    std::unique_ptr<Nodes> myNodes;
    std::vector<std::vector<Sample>> mySamples;
    std::vector<std::thread> myThreads;
    int myRounds = 0;
    long myReads = 0;
};

} // namespace

int main(int argc, char **argv)
{
    const double seconds = argc > 1 ? std::atof(argv[1]) : 4.0;
    const int threads =
        argc > 2 ? std::atoi(argv[2]) : int(std::max(4u, std::thread::hardware_concurrency()));
    const unsigned seed = argc > 3 ? unsigned(std::atoi(argv[3])) : 1u;
    if (!(seconds > 0.0) || threads < 1 || threads > 1000) {
        std::fprintf(stderr, "usage: soak [SECONDS] [THREADS] [SEED]\n");
        return 2;
    }
    Soak soak(threads, seed);
    const bool good = soak.run(seconds / 2, true) && soak.run(seconds / 2, false);
    std::printf("%d threads, %d rounds, %ld parameters compared: %s\n", threads, soak.getRounds(),
                soak.getReads(), good ? "all alike" : "DIFFERENT");
    return good ? 0 : 1;
}
