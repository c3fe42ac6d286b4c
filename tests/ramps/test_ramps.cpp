// Ramp parameters: converted to the host's object and back, to default text and back.

#include <KIT/KIT_Ramp.h>
#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_WorkBuffer.h>
#include <LNK/LNK_MicroNode.h>
#include <ZEL/ZEL_ParmMicroNode.h>
#include <ZEL/ZEL_RampUtils.h>
#include <ZEL/ZEL_SpareData.h>
#include <multi/MultiList.h>

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace
{

/// A list with a ramp "r" and a float "rest", which isn't the ramp's whatever its name begins with.
struct RampList : MultiList
{
    RampList(ZEL_MultiType type, double count, ZEL_SpareData *spare = nullptr,
             const char *token = "r")
    {
        // Without a range of its own a ramp keeps one key.
        static ZEL_Range fromZero(ZEL_RANGE_HARD, 0.0, ZEL_RANGE_FREE, 0.0);
        top.addMulti(type, token, nullptr, count, &fromZero, spare);
        top.add(ZEL_FLT, 1, "rest");
        buildTop();
    }

    KIT_Ramp read(double time = 0.0, const char *token = "r")
    {
        KIT_Ramp ramp;
        ZEL_RampUtils::updateRampFromMultiParm(time, parm(token), &ramp, nullptr, nullptr);
        return ramp;
    }
    void write(const KIT_Ramp &ramp, bool wrap = false)
    {
        ZEL_RampUtils::updateMultiParmFromRamp(0.0, ramp, parm("r"), wrap, ZEL_ADDKEY_PENDING);
    }
    std::string defaultText(const char *token = "r")
    {
        std::ostringstream os;
        ZEL_RampUtils::setRampDefaultFromParm(os, parm(token));
        return os.str();
    }
    void take(const char *text, const char *token = "r")
    {
        ZEL_RampUtils::getRampParmFromDefault(parm(token), text);
    }
};

/// "position:red,green,blue,alpha/basis", keys separated by blanks.
std::string contents(const KIT_Ramp &ramp)
{
    std::string text;
    for (int i = 0; i < ramp.getNodeCount(); ++i) {
        const KIT_RampNode &node = *ramp.getNode(i);
        text += (i > 0 ? " " : "") + number(double(node.position)) + ":" +
                number(double(node.red)) + "," + number(double(node.green)) + "," +
                number(double(node.blue)) + "," + number(double(node.alpha)) + "/" +
                std::to_string(node.basis);
    }
    return text;
}

KIT_Ramp makeRamp(const std::vector<KIT_RampNode> &nodes)
{
    KIT_Ramp ramp;
    for (const KIT_RampNode &node : nodes) {
        const float rgba[4] = {node.red, node.green, node.blue, node.alpha};
        ramp.insertNode(ramp.getNodeCount(), node.position, rgba, node.basis, false);
    }
    return ramp;
}

/// What reached a setter: "r:2 r1pos:0 r1c:0=1 ...".
void record(ZEL_RampUtils::ValueData value)
{
    std::string &text = *static_cast<std::string *>(value.data);
    text += (text.empty() ? "" : " ") + std::string(value.parm->getToken()) + ":";
    text += value.index > 0 ? std::to_string(value.index) + "=" : "";
    text += value.parm->isMultiParm() || value.parm->getType().isOrdinalType()
                ? "#" + std::to_string(value.integer)
                : number(value.value);
    if (value.parm->isMultiParm()) {
        value.parm->setValue(value.time, value.integer, false, 0, ZEL_ADDKEY_PENDING, false);
    }
}

const KIT_RampNode theFirst{0.25f, 0.5f, 1.0f, 2.0f, 0.75f, KIT_BASIS_HERMITE};
const KIT_RampNode theSecond{0.5f, 3.0f, 4.0f, 5.0f, -6.0f, KIT_BASIS_BEZIER};

} // namespace

TEST(Ramps, InterpolationsAndBases)
{
    const int bases[] = {0, 1, 2, 3, 5, 6, 7};
    for (int type = 0; type < 7; ++type) {
        EXPECT_EQ(bases[type], ZELgetRampBasis(type));
        EXPECT_EQ(type, ZELgetRampInterp(KIT_SPLINE_BASIS(bases[type])));
    }
    for (const int outside : {-1, 7, 99}) {
        EXPECT_EQ(KIT_BASIS_CONSTANT, ZELgetRampBasis(outside));
    }
    for (const int outside : {4, 8, -1}) {
        EXPECT_EQ(ZEL_RAMPINTERP_CONSTANT, ZELgetRampInterp(KIT_SPLINE_BASIS(outside)));
    }
}

TEST(RampReading, KeysInOrderOfPosition)
{
    RampList flat(ZEL_MULTITYPE_RAMP_FLT, 3.0);
    flat.set("r1pos", 0.75);
    flat.set("r1value", -2.0);
    flat.set("r1interp", 6.0);
    flat.set("r2interp", 4.0);
    flat.set("r3value", 9.0);
    flat.set("r3pos", 0.5);
    const KIT_Ramp ramp = flat.read();
    EXPECT_EQ("0.5:0.5,0.5,0.5,0.5/5 0.5:9,9,9,9/0 0.75:-2,-2,-2,-2/7", contents(ramp));
    EXPECT_FALSE(ramp.getStrictOrder());
    EXPECT_EQ(-1, ramp.getSelectedNode());
    EXPECT_EQ(KIT_COLORTYPE_RGB, ramp.getColorType());

    ZEL_SpareData spare({"rampcolortype", "lab"});
    RampList color(ZEL_MULTITYPE_RAMP_RGB, 2.0, &spare);
    color.set("r2c", 0.25, 1);
    KIT_Ramp reused = makeRamp({theFirst, theSecond});
    ZEL_RampUtils::updateRampFromMultiParm(0.0, color.parm("r"), &reused, nullptr, nullptr);
    EXPECT_EQ("0:0,0,0,1/0 1:1,0.25,1,1/0", contents(reused));
    EXPECT_TRUE(reused.getStrictOrder());
    EXPECT_EQ(KIT_COLORTYPE_LAB, reused.getColorType());

    color.setCount(0.0, "r");
    EXPECT_EQ("", contents(color.read()));
}

TEST(RampReading, IncompleteKeysAndOtherParametersAreNoKeys)
{
    RampList p(ZEL_MULTITYPE_RAMP_FLT, 3.0);
    int index = -1;
    ASSERT_NE(nullptr, p.list->getParmPtr("r2interp", index));
    p.list->removeAndDestroyParm(index);
    EXPECT_EQ("0:0,0,0,0/0 1:1,1,1,1/0", contents(p.read()));

    p.write(makeRamp({theFirst, theSecond, theSecond}));
    EXPECT_EQ("0.25 0.75 0.5 1", valueText(p.parm("r1pos")) + " " + valueText(p.parm("r1value")) +
                                     " " + valueText(p.parm("r2pos")) + " " +
                                     valueText(p.parm("r3pos")))
        << "writing ends at the key";

    p.set("rest", 1e9);
    EXPECT_EQ("", contents(p.read(0.0, "rest")));
    ZEL_RampUtils::updateMultiParmFromRamp(0.0, makeRamp({theFirst}), p.parm("rest"), false,
                                           ZEL_ADDKEY_PENDING);
    EXPECT_EQ(1e9, p.eval("rest"));
}

TEST(RampReading, WhatARampDependsOn)
{
    const std::pair<const char *, bool> cases[] = {
        {"rest", false}, {"r2pos", true}, {"r1c", true}, {"r2interp", true}};
    for (const auto &[token, expected] : cases) {
        RampList p(ZEL_MULTITYPE_RAMP_RGB, 2.0);
        p.animate(token, "$T * 0 + 2", token[1] == '1' ? 2 : 0);
        KIT_Ramp ramp;
        LNK_MicroNode node;
        bool timeDependent = !expected;
        ZEL_RampUtils::updateRampFromMultiParm(0.0, p.parm("r"), &ramp, &timeDependent, &node);
        EXPECT_EQ(expected, timeDependent) << token;
        EXPECT_EQ(1 + 2 * 5, node.getNumInputs()) << token;
        EXPECT_EQ(2, ramp.getNodeCount());
        // A change of any of them makes the ramp's user out of date.
        node.update();
        p.parm("r2c").microNode(1)->propagateDirty({}, false);
        EXPECT_TRUE(node.isDirty());
    }
}

TEST(RampReading, AtATime)
{
    RampList p(ZEL_MULTITYPE_RAMP_FLT, 2.0);
    p.animate("r1value", "10 * $T");
    EXPECT_EQ("0:0,0,0,0/0 1:1,1,1,1/0", contents(p.read(0.0)));
    EXPECT_EQ("0:20,20,20,20/0 1:1,1,1,1/0", contents(p.read(2.0)));
    p.set("rest", 3.0);
    p.animate("r", "ch(\"rest\")");
    EXPECT_EQ(3, p.read(0.0).getNodeCount()) << "reading makes the keys that a count asks for";
}

TEST(RampWriting, EveryValueGoesThroughTheSetter)
{
    const std::tuple<ZEL_MultiType, double, bool, const char *> cases[] = {
        {ZEL_MULTITYPE_RAMP_FLT, 2.0, false,
         "r1pos:0.25 r1value:0.75 r1interp:#6 r2pos:0.5 r2value:-6 r2interp:#4"},
        {ZEL_MULTITYPE_RAMP_RGB, 1.0, false,
         "r:#2 r1pos:0.25 r1c:0.5 r1c:1=1 r1c:2=2 r1interp:#6 "
         "r2pos:0.5 r2c:3 r2c:1=4 r2c:2=5 r2interp:#4"},
        {ZEL_MULTITYPE_RAMP_FLT, 4.0, true,
         "r:#3 r1pos:0.25 r1value:0.75 r1interp:#6 r2pos:0.5 r2value:-6 r2interp:#4 "
         "r3pos:1 r3value:0.75 r3interp:#6"},
    };
    for (const auto &[type, count, wrap, expected] : cases) {
        RampList p(type, count);
        std::string recorded;
        ZEL_RampUtils::updateMultiParmFromRamp(0.0, makeRamp({theFirst, theSecond}), p.parm("r"),
                                               wrap, &record, &recorded);
        EXPECT_EQ(expected, recorded);
    }
}

TEST(RampWriting, AWrapKeyClosesAnOpenRamp)
{
    const std::pair<float, bool> cases[] = {{1.0f, false},   {0.99999f, false}, {1.00001f, false},
                                            {0.9999f, true}, {0.9f, true},      {1.5f, true}};
    for (const auto &[last, wrapped] : cases) {
        RampList p(ZEL_MULTITYPE_RAMP_FLT, 1.0);
        KIT_RampNode end = theSecond;
        end.position = last;
        p.write(makeRamp({theFirst, end}), true);
        EXPECT_EQ(wrapped ? 3 : 2, p.multi("r").getMultiParmNumItems()) << last;
        if (wrapped) {
            EXPECT_EQ("1 0.75 6", valueText(p.parm("r3pos")) + " " + valueText(p.parm("r3value")) +
                                      " " + valueText(p.parm("r3interp")));
        }
    }
    RampList p(ZEL_MULTITYPE_RAMP_FLT, 2.0);
    p.write(KIT_Ramp(), true);
    EXPECT_EQ(0, p.multi("r").getMultiParmNumItems()) << "nothing to repeat";
}

TEST(RampWriting, ThereAndBackChangesNothing)
{
    for (const ZEL_MultiType type : {ZEL_MULTITYPE_RAMP_FLT, ZEL_MULTITYPE_RAMP_RGB}) {
        RampList p(type, 3.0);
        const char *const value = type == ZEL_MULTITYPE_RAMP_FLT ? "r2value" : "r2c";
        // None of these is a 32-bit float.
        p.set("r2pos", 0.1);
        p.set(value, 1.0 / 3.0);
        p.set("r3pos", 0.9);
        for (int i = 1; i <= 3; ++i) {
            p.set(("r" + std::to_string(i) + "interp").c_str(), 2.0 * i);
        }
        p.animate("r3interp", "3 + 2");
        const std::string before = p.text();
        KIT_Ramp ramp = p.read();
        p.write(ramp);
        EXPECT_EQ(before, p.text());
        EXPECT_EQ("3 + 2", p.expression("r3interp"));
        EXPECT_EQ(0.1, p.eval("r2pos"));
        EXPECT_EQ(contents(ramp), contents(p.read()));

        ramp.moveNode(1, 0.1f + 1e-7f);
        p.write(ramp);
        EXPECT_EQ(double(ramp.getNode(1)->position), p.eval("r2pos")) << "a change is no digit";
    }
}

TEST(RampWriting, ChangesAreTold)
{
    RampList p(ZEL_MULTITYPE_RAMP_FLT, 2.0);
    p.list->clearAllDirtyFlags();
    EventLog log(*p.list);
    p.write(makeRamp({theFirst, theSecond, theSecond}));
    EXPECT_EQ("4:0 4:2 4:3 4:4 4:5 4:6 4:7 4:8 4:9 4:10", log.take());
    EXPECT_TRUE(p.parm("r").isDirty(0));
    EXPECT_TRUE(p.parm("r1value").isDirty(0));
    EXPECT_EQ("r=3 rest=0 r1pos=0.25 r1value=0.75 r1interp=6 r2pos=0.5 r2value=-6 r2interp=4 "
              "r3pos=0.5 r3value=-6 r3interp=4",
              p.text());
    p.parm("r").setLockedFlag(-1, true);
    p.write(makeRamp({theSecond, theFirst, theFirst, theFirst}));
    EXPECT_EQ(3, p.multi("r").getMultiParmNumItems());
    EXPECT_EQ(0.25, p.eval("r3pos")) << "as many keys as there are";
}

TEST(RampWriting, AListenerMayTakeKeysAway)
{
    for (int at = 1; at <= 8; ++at) {
        RampList p(ZEL_MULTITYPE_RAMP_RGB, 3.0);
        struct Taker
        {
            RampList &list;
            int left;
        } taker{p, at};
        p.list->setEventHandler(&taker, [](void *data, TRK_CHANGE_TYPE, int) {
            Taker &self = *static_cast<Taker *>(data);
            if (--self.left == 0) {
                self.list.list->setInt(0, "r", 0, 0.0, false);
                self.list.eval("r");
            }
        });
        p.write(makeRamp({theFirst, theSecond, theFirst}));
        p.list->setEventHandler(nullptr, nullptr);
        p.eval("r"); // items in use are kept until the next read
        EXPECT_EQ(0, p.multi("r").getMultiParmNumItems()) << at;
    }
}

TEST(RampDefaults, TextOfArrays)
{
    using Numbers = KIT_ValArray<double>;
    const std::tuple<Numbers, int, Numbers, const char *, const char *> cases[] = {
        {{0, 1},
         1,
         {},
         "",
         "1pos ( 0 ) 1interp ( linear ) 1value ( 0 ) "
         "2pos ( 1 ) 2interp ( linear ) 2value ( 1 )"},
        {{5}, 1, {}, "", "1pos ( 0 ) 1interp ( linear ) 1value ( 5 )"},
        {{1, 0, 0, 0.5}, 3, {}, "", "1pos ( 0 ) 1interp ( linear ) 1c ( 1 0 0 )"},
        {{0, 0, 0, 1, 0, 0, 0, 0, 0},
         3,
         {},
         "",
         "1pos ( 0 ) 1interp ( linear ) 1c ( 0 0 0 ) "
         "2pos ( 0.5 ) 2interp ( linear ) 2c ( 1 0 0 ) "
         "3pos ( 1 ) 3interp ( linear ) 3c ( 0 0 0 )"},
        {{1, 2},
         1,
         {0.25},
         "bspline",
         "1pos ( 0.25 ) 1interp ( bspline ) 1value ( 1 ) "
         "2pos ( 0.25 ) 2interp ( bspline ) 2value ( 2 )"},
        {{1e10, -1.0 / 3.0},
         2,
         {1e-7},
         "",
         "1pos ( 1e-07 ) 1interp ( linear ) 1c ( 1e+10 -0.333333 )"},
        {{}, 1, {}, "", ""},
        {{1, 2}, 0, {}, "", ""},
        {{1, 2}, 3, {}, "", ""},
    };
    for (const auto &[values, components, keys, basis, text] : cases) {
        KIT_StringArray bases;
        if (*basis) {
            bases.append(basis);
        }
        KIT_WorkBuffer out("old");
        ZEL_RampUtils::getRampDefaultString(out, values, components,
                                            keys.isEmpty() ? nullptr : &keys, &bases);
        EXPECT_STREQ(text, out.buffer());
    }
}

TEST(RampDefaults, ArraysOfARamp)
{
    KIT_ValArray<double> values;
    KIT_ValArray<double> keys;
    KIT_StringArray bases;
    int components = 7;
    KIT_WorkBuffer text;
    const auto textOf = [&](const KIT_Ramp &ramp, bool color) {
        ZEL_RampUtils::getRampValuesFromParm(values, components, keys, bases, ramp, color);
        ZEL_RampUtils::getRampDefaultString(text, values, components, &keys, &bases);
        return std::string(text.buffer());
    };
    const KIT_Ramp ramp = makeRamp({theFirst, theSecond});
    EXPECT_EQ("1pos ( 0.25 ) 1interp ( hermite ) 1c ( 0.5 1 2 ) "
              "2pos ( 0.5 ) 2interp ( bezier ) 2c ( 3 4 5 )",
              textOf(ramp, true));
    EXPECT_EQ("1pos ( 0.25 ) 1interp ( hermite ) 1value ( 0.75 ) "
              "2pos ( 0.5 ) 2interp ( bezier ) 2value ( -6 )",
              textOf(ramp, false));
    EXPECT_EQ("", textOf(KIT_Ramp(), true));
    EXPECT_EQ(1, components);
}

TEST(RampDefaults, ThereAndBack)
{
    ZEL_SpareData spare;
    {
        RampList p(ZEL_MULTITYPE_RAMP_RGB, 2.0);
        p.set("r1c", 0.1, 2);
        p.set("r2interp", 5.0);
        p.set("r2pos", 0.9);
        p.animate("r2c", "1 + 2", 0);
        EXPECT_EQ("1pos ( 0 ) 1c ( 0 0 0.1 ) 1interp ( constant ) "
                  "2pos ( 0.9 ) 2c ( 3 1 1 ) 2interp ( bspline )",
                  p.defaultText());
        spare.setRampDefaultFromParm(p.parm("r"));
        spare.setRampDefaultFromParm(p.parm("rest"));
        EXPECT_EQ(1u, spare.entries());
        EXPECT_EQ("", p.defaultText("rest"));
        std::ostringstream broken;
        broken.setstate(std::ios::badbit);
        ZEL_RampUtils::setRampDefaultFromParm(broken, p.parm("r"));
        EXPECT_EQ("", takeMessages()) << "not told";
        EXPECT_FALSE(ZEL_SpareData().getRampDefaultToParm(p.parm("r")));
        EXPECT_FALSE(spare.getRampDefaultToParm(p.parm("rest")));
    }
    // As the default of a ramp it fills the first keys, and those that are added again later.
    RampList p(ZEL_MULTITYPE_RAMP_RGB, 2.0, &spare);
    const std::string filled = "r=2 rest=0 r1pos=0 r1c=0,0,0.1 r1interp=0 r2pos=0.9 r2c=3,1,1 "
                               "r2interp=5";
    EXPECT_EQ(filled, p.text());
    p.set("r1pos", 0.5);
    p.multi("r").revertAllInstances();
    EXPECT_EQ(0.0, p.eval("r1pos"));
    EXPECT_EQ(3.0, p.eval("r2c"));
    p.animate("r1pos", "0.75");
    EXPECT_TRUE(spare.getRampDefaultToParm(p.parm("r")));
    EXPECT_EQ("-", p.expression("r1pos")) << "in the place of what drives a key";
    EXPECT_EQ(filled, p.text().substr(0, filled.size()));
}

TEST(RampDefaults, WhatDrivesAnInterpolationGivesWay)
{
    // `left`: the value and what drives it
    const std::tuple<const char *, bool, const char *> cases[] = {
        {"2interp ( bezier )", false, "4 -"},    {"2interp 5", false, "5 -"},
        {"2interp ( bezier )", true, "2 1 + 1"}, {"1interp ( bezier )", false, "2 1 + 1"},
        {"wibble ( bezier )", false, "2 1 + 1"},
    };
    for (const auto &[text, locked, left] : cases) {
        RampList p(ZEL_MULTITYPE_RAMP_FLT, 2.0);
        p.animate("r2interp", "1 + 1");
        p.parm("r2interp").setLockedFlag(-1, locked);
        p.take(text);
        // A channel that was left in the collection would be linked again here.
        p.parm("r2interp").reloadChannelPtrs();
        EXPECT_EQ(left, number(p.eval("r2interp")) + " " + p.expression("r2interp")) << text;
        EXPECT_EQ(std::string(left).find('-') == std::string::npos,
                  p.channels.getChannel("r2interp") != nullptr)
            << text;
    }
}

TEST(RampDefaults, WordsThatFit)
{
    // Two keys of a float ramp, at first 0, 0, constant and 1, 1, constant.
    const std::string fresh =
        "r=2 rest=0 r1pos=0 r1value=0 r1interp=0 r2pos=1 r2value=1 r2interp=0";
    const auto with = [&](const char *token, const char *value) {
        std::string text = fresh;
        const std::size_t at = text.find(std::string(token) + "=") + std::strlen(token) + 1;
        return text.replace(at, 1, value);
    };
    const std::pair<const char *, std::string> cases[] = {
        {"", fresh},
        {" \t\n 2value\t(\n0.5 )", with("r2value", "0.5")},
        {"2value 0.5", with("r2value", "0.5")},
        {"1interp ( bezier )", with("r1interp", "4")},
        {"1interp ( 3 )", with("r1interp", "3")},
        {"wibble ( 7 ) 2value ( 0.5 )", with("r2value", "0.5")},
        {"7pos ( 0.5 ) 99999999999999999999pos ( 1 ) 0pos ( 1 ) -1pos ( 1 )", fresh},
        {"2value", fresh},
        {"2value (", fresh},
        {"2value ( )", fresh},
        {"2value ( 1 2 3 4 ) 1value ( 6 )", with("r1value", "6")},
        {"( ( ) ) [ ] { } \" ' \\ ` $ #pos ( 1 ) #value ( 2 )", fresh},
        {"est ( 5 ) 2value ( 0.5 )", with("r2value", "0.5")},
        {"r ( 0 ) r2value ( 5 )", fresh},
    };
    for (const auto &[text, contents] : cases) {
        RampList p(ZEL_MULTITYPE_RAMP_FLT, 2.0);
        p.take(text);
        EXPECT_EQ(contents, p.text()) << text;
        EXPECT_EQ("", takeMessages()) << text;
    }
}

TEST(RampDefaults, TextsOfStrangersLeaveARampThatCanBeRead)
{
    std::string endless;
    for (int i = 0; i < 20000; ++i) {
        endless += "1pos ( " + std::to_string(i % 7) + " ) x" + std::to_string(i) + " ( ";
    }
    const std::string cases[] = {
        "1pos ( 1e999 ) 1value ( -1e999 ) 2value ( nan ) 2pos ( inf )",
        "1pos ( 123456789012345678901234567890 ) 1interp ( 123456789012345678901234567890 )",
        "1interp ( -5 ) 2interp ( wibble )",
        "1value ( ch(\"1value\") ) 1pos ( ch(\"r1pos\") ) 1interp ( `system(\"x\")` )",
        "1pos ( \xff\xfe\x80 ) 1interp ( \xc3 ) \xff ( 1 )",
        std::string(100000, '('),
        std::string(100000, '7') + "pos ( 1 )",
        "1pos ( " + std::string(100000, '9') + " )",
        endless,
    };
    for (const std::string &text : cases) {
        for (const ZEL_MultiType type : {ZEL_MULTITYPE_RAMP_FLT, ZEL_MULTITYPE_RAMP_RGB}) {
            ZEL_SpareData spare(
                {type == ZEL_MULTITYPE_RAMP_FLT ? "rampfloatdefault" : "rampcolordefault",
                 text.c_str()});
            RampList p(type, 2.0, &spare);
            takeMessages();
            p.take(text.c_str());
            EXPECT_EQ("", takeMessages()) << "they are dropped";
            const KIT_Ramp ramp = p.read();
            EXPECT_EQ(2, ramp.getNodeCount());
            for (int i = 0; i < ramp.getNodeCount(); ++i) {
                const KIT_SPLINE_BASIS basis = ramp.getNode(i)->basis;
                EXPECT_EQ(basis, ZELgetRampBasis(ZELgetRampInterp(basis)));
            }
            float rgba[4];
            ramp.evaluate(0.5f, rgba);
            p.write(ramp, true);
            p.take(p.defaultText().c_str());
            EXPECT_EQ(0.0, p.eval("rest"));
            takeMessages();
        }
    }
}

TEST(RampDefaults, ThePrefixKeepsNumbersApart)
{
    const std::pair<const char *, const char *> cases[] = {{"foo1", "foo1_1pos"},
                                                           {"foo", "foo1pos"},
                                                           {"xn__a_3ab", "xn__a_3ab1pos"},
                                                           {"xn__a_3ab2", "xn__a_3ab2__1pos"}};
    for (const auto &[token, key] : cases) {
        RampList p(ZEL_MULTITYPE_RAMP_FLT, 1.0, nullptr, token);
        EXPECT_EQ("1pos ( 0 ) 1value ( 0 ) 1interp ( constant )", p.defaultText(token));
        p.take("1pos ( 0.5 )", token);
        EXPECT_EQ(0.5, p.eval(key)) << token;
    }
}

TEST(RampDefaults, RampsInItems)
{
    ZEL_SpareData spare({"rampfloatdefault", "1pos ( 0.25 ) 2value ( 7 )"});
    const std::pair<const char *, const char *> cases[] = {
        {"in#", "1pos ( 0.25 ) 1value ( 0 ) 1interp ( constant ) "
                "2pos ( 0 ) 2value ( 7 ) 2interp ( constant )"},
        // Its children are "in2pos_1": without a prefix of the ramp's own, no text names them.
        {"in", ""},
    };
    for (const auto &[token, text] : cases) {
        Block block;
        block.addMulti(ZEL_MULTITYPE_RAMP_FLT, token, nullptr, 2.0, nullptr, &spare);
        MultiList p;
        p.top.addMulti(ZEL_MULTITYPE_LIST, "outer", block.templates(), 0.0);
        p.buildTop();
        p.setCount(2.0, "outer");
        std::ostringstream os;
        ZEL_RampUtils::setRampDefaultFromParm(os, p.parm("in2"));
        EXPECT_EQ(text, os.str());
        p.list.reset();
    }
}
