// The shared names, defaults, ranges and menus, row by row.

#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_SharedDefaults.h>
#include <ZEL/ZEL_SharedMenus.h>
#include <ZEL/ZEL_SharedNames.h>
#include <ZEL/ZEL_SharedRanges.h>
#include <ZEL/ZEL_SpareData.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <set>
#include <sstream>
#include <string>

namespace
{

struct NameCase
{
    const ZEL_Name &name;
    const char *token;
    const char *label;
};

const NameCase theNames[] = {
    {ZELAlternatingTrianglesName, "alttriangles", "Alternating Triangles"},
    {ZELCapFacetedName, "facet", "End cap faceted"},
    {ZELaffectorName, "affect", "Affector"},
    {ZELangleName, "angle", "Angle"},
    {ZELbiasName, "bias", "Bias"},
    {ZELcapsName, "cap", "End Caps"},
    {ZELfixedName, "fixed", "Fixed Intersection"},
    {ZELgroupName, "group", "Group"},
    {ZELgrpEdgeAngleBetweenEdgesName, "edgeanglebetweenedges",
     "Edge Angle Uses Angle Between Edges"},
    {ZELleadnmlName, "leadnml", "Translate Along Lead Normal"},
    {ZELlmbName, "lmb", "Left Mouse"},
    {ZELpivotName, "p", "Pivot"},
    {ZELseedName, "seed", "Seed"},
    {ZELsoftRadiusName, "rad", "Soft Radius"},
    {ZELgemnName, "gemn", "GEMN"},
    {ZELstitchOpName, "stitchop", "Stitch"},
    {ZELtoleranceName, "tolerance", "Tolerance"},
    {ZELkslPrecisionName, "ksl_precision", "KSL Precision"},
};

struct MenuCase
{
    const char *symbol;
    const ZEL_ChoiceList &menu;
    int type;
    const char *tokens;
};

#define MENU(symbol, type, tokens)                                                                 \
    {                                                                                              \
#symbol, symbol, type, tokens                                                              \
    }
const MenuCase theMenus[] = {
    MENU(ZELUVgroupTypeMenu, 4097, "guess vertices edges points prims"),
    MENU(ZELarcTypeMenu, 4097, "closed openarc closedarc slicedarc"),
    MENU(ZELaxisMenu, 4097, "x y z"),
    MENU(ZELbumpMenu, 4097, "precomp r g b a lum"),
    MENU(ZELcapMenu, 4097, "none facet share round tangent"),
    MENU(ZELchildCompMenu, 2, "TOOLS_rotate"),
    MENU(ZELconnectivityMenu, 4097,
         "rows cols rowcol triangles quads alttriangles revtriangles inheritconnect"),
    MENU(ZELcycleMenu, 4097, "all each cycle"),
    MENU(ZELdirUVMenu, 4097, "ujoin vjoin"),
    MENU(ZELentityMenuAll, 4097, "primitive point edge"),
    MENU(ZELentityMenuPointsAndPrimitives, 4097, "primitive point"),
    MENU(ZELgroupTypeMenu, 4097, "guess breakpoints edges points prims"),
    MENU(ZELhandleAlignMenu, 4097, "object world view cplane parent"),
    MENU(ZELintegrateMenu, 4097, "euler rk2 rk4"),
    MENU(ZELkeepPosMenu, 2, "TOOLS_move"),
    MENU(ZELlockUpVectMenu, 4097, "locknorm lockwrldx lockwrldy lockwrldz locknone"),
    MENU(ZELmetricMenu, 4097, "uv uvw xyz"),
    MENU(ZELmirrorGroupUseMenu, 4097, "source destination"),
    MENU(ZELnoiseMenu, 4097, "fast hq ffast alligator"),
    MENU(ZELpackedPivotMenu, 4097, "origin centroid"),
    MENU(ZELparamMenu, 4097, "uniform chrdlen centrip"),
    MENU(ZELplaneMenu, 4097, "xy yz zx"),
    MENU(ZELpointOpsMenu, 4097, "all group skip sep attribute"),
    MENU(ZELprimOpsMenu, 4097, "all group skip"),
    MENU(ZELprimitiveMenu, 4097, "prim poly mesh nurbs bezier"),
    MENU(ZELrgbaMenu, 4097, "rgb r g b a"),
    MENU(ZELrgbahsvMenu, 4097, "rgb r g b a h s v"),
    MENU(ZELrgbal2Menu, 4097, "r g b a lum"),
    MENU(ZELrgbalMenu, 4097, "rgb r g b a lum"),
    MENU(ZELrpartTypeMenu, 4097, "sphere circle line tube capped rounded"),
    MENU(ZELsoftDistanceMetricsMenu, 4097, "custom edges global globalconnected surface"),
    MENU(ZELsoftTypesMenu, 4097, "linear quadratic cubic meta"),
    MENU(ZELsoftVisualizeFalloffMenu, 4097, "never always state"),
    MENU(ZELsurfaceMenu, 4097, "rows cols rowcol triangles quads alttriangles revtriangles"),
    MENU(ZELtoggleMenu, 4097, "off on"),
    MENU(ZELtrsMenu, 4097, "srt str rst rts tsr trs"),
    MENU(ZELuInterpMenu, 4097, "noneiu iu ifprimiv"),
    MENU(ZELuWrapMenu, 4097, "nonewu wu ifprimwu"),
    MENU(ZELvInterpMenu, 4097, "noneiv iv ifprimiv"),
    MENU(ZELvWrapMenu, 4097, "nonewv wv ifprimwv"),
    MENU(ZELkslPrecisionMenu, 4097, "auto 32 64"),
    MENU(ZELviewportLODMenu, 4097, "full points box centroid hidden"),
    MENU(ZELviewportLODMenuWithUnchanged, 4097, "unchanged full points box centroid hidden"),
    MENU(ZELxyzMenu, 4097, "xyz xzy yxz yzx zxy zyx"),
    MENU(zelRampInterpMenu, 4097,
         "constant linear catmull-rom monotonecubic bezier bspline hermite"),
};

struct RangeCase
{
    const char *symbol;
    const ZEL_Range &range;
    double min;
    int minFlag;
    double max;
    int maxFlag;
};

#define RANGE(symbol, min, minFlag, max, maxFlag)                                                  \
    {                                                                                              \
#symbol, symbol, min, minFlag, max, maxFlag                                                \
    }
constexpr int soft = 1;
constexpr int hard = 3;
const RangeCase theRanges[] = {
    RANGE(ZELangleRange, 0, soft, 360, soft),
    RANGE(ZELhalfAngleRange, 0, hard, 180, hard),
    RANGE(ZELnonNegativeRange, 0, hard, 100, soft),
    RANGE(ZELpositiveRange, 0.0001, hard, 1000, soft),
    RANGE(ZELnonPositiveRange, -100, soft, 0, hard),
    RANGE(ZELdivision3Range, 3, hard, 50, soft),
    RANGE(ZELdivision2Range, 2, hard, 50, soft),
    RANGE(ZELdivision1Range, 1, hard, 50, soft),
    RANGE(ZELdivision0Range, 0, hard, 50, soft),
    RANGE(ZELdivisionRange, 1, hard, 100, soft),
    RANGE(ZELexpRange, 0, hard, 5, soft),
    RANGE(ZELframeRange, 1, soft, 300, soft),
    RANGE(ZELrulerRange, 0, hard, 10, soft),
    RANGE(ZELlodRange, 0.001, hard, 5, soft),
    RANGE(ZELrolloffRange, 0, hard, 10, soft),
    RANGE(ZELseedRange, 0, soft, 200, soft),
    RANGE(ZELscaleRange, -5, soft, 5, soft),
    RANGE(ZELuscaleRange, 0, soft, 10, soft),
    RANGE(ZELstepSizeRange, 0.001, hard, 5, soft),
    RANGE(ZELdistRange, -10, soft, 10, soft),
    RANGE(ZELorderRange, 2, hard, 11, hard),
    RANGE(ZELfrequency10Range, 1, hard, 10, soft),
    RANGE(ZELfrequencyRange, 1, hard, 5, soft),
    RANGE(ZELmetaWeightRange, -5, soft, 10, soft),
    RANGE(ZELbiasRange, 0, hard, 1, hard),
    RANGE(ZELtoleranceRange, 0, hard, 1, soft),
    RANGE(ZELsharpnessRange, 0, hard, 1, hard),
    RANGE(ZELunitRange, 0, hard, 1, hard),
    RANGE(ZELincRange, 1, hard, 20, soft),
    RANGE(ZELradiusRange, 0, hard, 1, soft),
    RANGE(ZELsofttoggleRange, 0, soft, 1, soft),
    RANGE(ZELfullunitRange, -1, hard, 1, hard),
    RANGE(ZELfullunituiRange, -1, soft, 1, soft),
    RANGE(ZELfullangleRange, -360, soft, 360, soft),
};

struct DefaultCase
{
    const char *symbol;
    const ZEL_Default *entries;
    size_t count;
    const char *values; ///< of each entry, with "=text" when it has one
};

#define ENTRIES(symbol, values)                                                                    \
    {                                                                                              \
#symbol, symbol, std::size(symbol), values                                                 \
    }
#define ENTRY(symbol, values)                                                                      \
    {                                                                                              \
#symbol, &symbol, 1, values                                                                \
    }
const DefaultCase theDefaults[] = {
    ENTRIES(ZELzeroDefaults, "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0"),
    ENTRIES(ZELpointOneDefaults, "0.1 0.1 0.1 0.1 0.1 0.1 0.1 0.1 0.1 0.1 0.1 0.1"),
    ENTRIES(ZELpointFiveDefaults, "0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5"),
    ENTRIES(ZELnegoneDefaults, "-1 -1 -1 -1 -1 -1 -1 -1 -1 -1 -1 -1"),
    ENTRIES(ZELoneDefaults, "1 1 1 1 1 1 1 1 1 1 1 1"),
    ENTRIES(ZELtwoDefaults, "2 2 2 2 2 2 2 2 2 2 2 2"),
    ENTRIES(ZELthreeDefaults, "3 3 3 3 3 3 3 3 3 3 3 3"),
    ENTRIES(ZELfourDefaults, "4 4 4 4 4 4 4 4 4 4 4 4"),
    ENTRIES(ZELfiveDefaults, "5 5 5 5 5 5 5 5 5 5 5 5"),
    ENTRIES(ZELsixDefaults, "6 6 6 6 6 6 6 6 6 6 6 6"),
    ENTRIES(ZELsevenDefaults, "7 7 7 7 7 7 7 7 7 7 7 7"),
    ENTRIES(ZELeightDefaults, "8 8 8 8 8 8 8 8 8 8 8 8"),
    ENTRIES(ZELnineDefaults, "9 9 9 9 9 9 9 9 9 9 9 9"),
    ENTRIES(ZELtenDefaults, "10 10 10 10 10 10 10 10 10 10 10 10"),
    ENTRIES(ZEL20Defaults, "20 20 20 20 20 20 20 20 20 20 20 20"),
    ENTRIES(ZEL45Defaults, "45 45 45 45 45 45 45 45 45 45 45 45"),
    ENTRIES(ZEL90Defaults, "90 90 90 90 90 90 90 90 90 90 90 90"),
    ENTRIES(ZEL100Defaults, "100 100 100 100 100 100 100 100 100 100 100 100"),
    ENTRIES(ZEL180Defaults, "180 180 180 180 180 180 180 180 180 180 180 180"),
    ENTRIES(ZEL360Defaults, "360 360 360 360 360 360 360 360 360 360 360 360"),
    ENTRIES(ZELmatrix2Defaults, "1 0 0 1"),
    ENTRIES(ZELmatrix3Defaults, "1 0 0 0 1 0 0 0 1"),
    ENTRIES(ZELmatrix4Defaults, "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1"),
    ENTRIES(ZELxaxisDefaults, "1 0 0"),
    ENTRIES(ZELyaxisDefaults, "0 1 0"),
    ENTRIES(ZELzaxisDefaults, "0 0 1"),
    ENTRIES(ZELposDefaults, "0=@P.x 0=@P.y 0=@P.z"),
    ENTRIES(ZELangleDefaults, "0 360"),
    ENTRIES(ZELhalfAngleDefaults, "180 0"),
    ENTRIES(ZELuvRangeDefaults, "0.1 0.9"),
    ENTRIES(ZELluvDefaults, "1 0"),
    ENTRIES(ZELruvDefaults, "0 0"),
    ENTRY(ZEL360over8Default, "45=360/8"),
    ENTRY(ZELsurfaceDefault, "4"),
    ENTRY(ZELconnectivityDefault, "4"),
    ENTRY(ZELbiasDefault, "0.5"),
    ENTRY(ZELradiusDefault, "0.5"),
    ENTRY(ZELtoleranceDefault, "1"),
    ENTRY(ZELfitToleranceDefault, "0.001"),
    ENTRY(ZELrayToleranceDefault, "0.01"),
    ENTRY(ZELsharpnessDefault, "0"),
    ENTRY(ZELrpartSizeDefault, "0.05"),
    ENTRY(ZELsoftVisualizeFalloffDefault, "2"),
    ENTRY(ZELtextureMapDefault, "0=default.pic"),
    ENTRY(ZELbumpMapDefault, "0=defaultBump.pic"),
    ENTRY(ZELgroupDefault, "0=group1"),
    ENTRY(ZELkslPrecisionDefault, "0=auto"),
    ENTRY(ZELrenameDefault, "0=new_name"),
    ENTRIES(ZELinputLabelDefaults, "0=Sub-Network Input #1 0=Sub-Network Input #2 "
                                   "0=Sub-Network Input #3 0=Sub-Network Input #4 "
                                   "0=Sub-Network Input #5 0=Sub-Network Input #6"),
};

std::string tokens(const ZEL_ChoiceList &menu)
{
    std::string out;
    for (const ZEL_Name *name = menu.choiceNamesPtr(); name && !name->isSentinel(); ++name) {
        out += (out.empty() ? "" : " ") + std::string(name->getToken());
    }
    return out;
}

} // namespace

TEST(SharedTables, NamesHaveTheirRows)
{
    for (const NameCase &c : theNames) {
        EXPECT_STREQ(c.name.getToken(), c.token);
        EXPECT_STREQ(c.name.getLabel(), c.label) << c.token;
    }
    std::set<std::string> inputs;
    for (const ZEL_Name &name : ZELinputLabelNames) {
        inputs.insert(name.getToken());
    }
    EXPECT_EQ(inputs.size(), 6u);
}

// A token is one word that dialog scripts and channel names can hold, a label is words for people.
TEST(SharedTables, NamesSuitFilesAndPeople)
{
    static const ZEL_Name *const all[] = {
#define ZEL_SHARED_NAME(symbol, token, label) &symbol,
#include <ZEL/ZEL_SharedNames.def>
#undef ZEL_SHARED_NAME
    };
    for (const ZEL_Name *name : all) {
        const std::string token = name->getToken();
        for (const char c : token) {
            EXPECT_TRUE(std::islower(c) || std::isdigit(c) || c == '_') << token;
        }
        ASSERT_FALSE(name->getLabelRef().isEmpty()) << token;
        EXPECT_TRUE(std::isupper(name->getLabel()[0])) << token;
    }
}

TEST(SharedTables, MenusHaveTheirRows)
{
#define ZEL_SHARED_MENU(...) +1
    constexpr int theRows =
#include <ZEL/ZEL_SharedMenus.def>
        ;
#undef ZEL_SHARED_MENU
    EXPECT_EQ(std::size(theMenus), theRows - 1u) << "ZELhandleAngleStepMenu alone isn't here";
    for (const MenuCase &c : theMenus) {
        EXPECT_EQ(tokens(c.menu), c.tokens) << c.symbol;
        EXPECT_EQ(c.menu.getType(), c.type) << c.symbol;
        EXPECT_EQ(c.menu.getStaticSize(),
                  1 + std::count(c.tokens, c.tokens + std::strlen(c.tokens), ' '))
            << c.symbol;
        for (int i = 0; i < c.menu.getStaticSize(); ++i) {
            const ZEL_Name &row = c.menu.choiceNamesPtr()[i];
            const bool ownLabelFlag = row.getLabel() != row.getToken();
            EXPECT_EQ(ownLabelFlag, &c.menu != &ZELtoggleMenu) << c.symbol << " " << row.getToken();
        }
    }
}

// Rows that stand for a shared name read as that name does.
TEST(SharedTables, MenusTakeTheLabelsOfNames)
{
    EXPECT_STREQ(ZELcapMenu.choiceNamesPtr()[1].getLabel(), ZELCapFacetedName.getLabel());
    EXPECT_STREQ(ZELsurfaceMenu.choiceNamesPtr()[5].getLabel(), "Alternating Triangles");
    EXPECT_STREQ(ZELconnectivityMenu.choiceNamesPtr()[2].getLabel(), ZELrowcolName.getLabel());
}

// The label says which part of the full circle the step is.
TEST(SharedTables, AngleStepsArePartsOfACircle)
{
    EXPECT_EQ(ZELhandleAngleStepMenu.getType(), ZEL_CHOICELIST_REPLACE);
    ASSERT_EQ(ZELhandleAngleStepMenu.getStaticSize(), 16);
    EXPECT_STREQ(ZELhandleAngleStepMenu.choiceNamesPtr()[0].getToken(), "1");
    double last = 0.0;
    bool listedFlag = false;
    for (int i = 0; i < 16; ++i) {
        const ZEL_Name &row = ZELhandleAngleStepMenu.choiceNamesPtr()[i];
        const double angle = std::stod(row.getToken());
        int degrees = 0;
        int parts = 0;
        ASSERT_EQ(std::sscanf(row.getLabel(), "%d (360/%d)", &degrees, &parts), 2);
        EXPECT_EQ(degrees, int(angle)) << row.getToken();
        EXPECT_DOUBLE_EQ(angle, 360.0 / parts) << row.getLabel();
        EXPECT_GT(angle, last);
        last = angle;
        listedFlag |= std::string(row.getToken()) + row.getLabel() == "5.6255 (360/64)";
    }
    EXPECT_TRUE(listedFlag);
}

TEST(SharedTables, FilterMenuShowsEachKeyOnce)
{
    ASSERT_EQ(ZELopFilterTypeMenu.getStaticSize(), 30);
    EXPECT_EQ(ZELopFilterTypeMenu.getType(), ZEL_CHOICELIST_EXCLUSIVE);
    const ZEL_Name *rows = ZELopFilterTypeMenu.choiceNamesPtr();
    EXPECT_STREQ(rows[0].getToken(), "!!NODS!!");
    EXPECT_STREQ(rows[1].getToken(), "!!GEMN!!");
    EXPECT_STREQ(rows[12].getToken(), "!!NODS/NULL!!");
    EXPECT_STREQ(rows[29].getToken(), "!!MATN/LENS!!");
    std::set<std::string> keys;
    for (int i = 0; i < 30; ++i) {
        std::string key = rows[i].getToken();
        EXPECT_STREQ(rows[i].getLabel(), ZEL_SpareData::getOpFilterLabelFromKey(key.c_str()));
        for (char &c : key) {
            c = char(std::toupper(c));
        }
        EXPECT_TRUE(keys.insert(key).second) << key;
    }
}

TEST(SharedTables, RangesHaveTheirRows)
{
    EXPECT_EQ(std::size(theRanges), 34u);
    for (const RangeCase &c : theRanges) {
        EXPECT_EQ(c.range.getUIMin(), c.min) << c.symbol;
        EXPECT_EQ(c.range.getMinFlag(), c.minFlag) << c.symbol;
        EXPECT_EQ(c.range.getUIMax(), c.max) << c.symbol;
        EXPECT_EQ(c.range.getMaxFlag(), c.maxFlag) << c.symbol;
    }
}

TEST(SharedTables, DefaultsHaveTheirEntries)
{
    EXPECT_EQ(std::size(theDefaults), 49u);
    for (const DefaultCase &c : theDefaults) {
        std::ostringstream os;
        for (size_t i = 0; i < c.count; ++i) {
            const ZEL_Default &entry = c.entries[i];
            os << (i ? " " : "") << entry.getFloat();
            if (entry.gotString()) {
                os << "=" << entry.getString();
            }
            EXPECT_EQ(entry.getStringMeaning(), TRK_MEANING_LITERAL) << c.symbol;
        }
        EXPECT_EQ(os.str(), c.values) << c.symbol;
    }
}
