// Template arrays out of scripts, and the walks over the folders and items of a list.

#include "DialogText.h"

#include <KIT/KIT_BitArray.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_TemplateBuilder.h>
#include <ZEL/ZEL_Utils.h>

#include <deque>
#include <vector>

namespace
{

/// A builder's results live as long as the process, and so does this builder.
ZEL_TemplateBuilder &build(const char *script, int extra = 0, const char **options = nullptr)
{
    static std::deque<ZEL_TemplateBuilder> &theBuilders = *new std::deque<ZEL_TemplateBuilder>;
    return theBuilders.emplace_back(KIT_StringHolder("s"), script, options, extra);
}

std::string tokens(const ZEL_TemplateBuilder &builder)
{
    std::string all;
    for (int i = 0; i < builder.templateLength(); i++) {
        all += (i ? " " : "") + std::string(builder.templates()[i].getToken());
    }
    return all;
}

/// How many a walk visits, and each with its index.
std::string walk(ZEL_ParmList &list, const char *switcher, int folder, int index, bool items)
{
    const auto visit = [](const ZEL_ParmList &, ZEL_Parm *parm, int at, void *data) {
        *static_cast<std::string *>(data) += parm->getToken() + std::to_string(at) + " ";
    };
    std::string seen;
    const int count = ZEL_Utils::traverseFolder(list, list.getParmPtr(switcher), folder, index,
                                                items, visit, &seen);
    return std::to_string(count) + ": " + seen;
}

constexpr const char *theNested =
    "{ name top parm { name a } group { name g parm { name b } multiparm { name m default 2 "
    "parm { name c# } parm { name d# } } group { name h parm { name e } } group { name i "
    "parm { name f } parm { name j } } } group { name k parm { name l } } parm { name z } }";

} // namespace

TEST(TemplateBuilder, FillsBehindTheExtraPlaces)
{
    const ZEL_TemplateBuilder &builder = build(theNested, 2);
    EXPECT_EQ(builder.templateLength(), 12);
    EXPECT_EQ(tokens(builder), "parm parm a g b m h e f j l z");
    EXPECT_TRUE(builder.templates()[0].isTerminator() && builder.templates()[12].isTerminator());
    EXPECT_EQ(builder.findTemplate("parm"), nullptr);
    EXPECT_EQ(build("{ name top }", -3).templateLength(), 0);
}

TEST(TemplateBuilder, SourceMayBeAStreamWithMacros)
{
    const char *options[] = {"-DWHO=p", nullptr};
    EXPECT_EQ(tokens(build("{ name top parm { name WHO } }", 0, options)), "p");
    const std::string text = "{ name top parm { name q } }";
    KIT_IStream memory(text.data(), text.size(), KIT_IStream::TEXT);
    static ZEL_TemplateBuilder builder(KIT_StringHolder("s"), memory, nullptr, 0);
    EXPECT_EQ(tokens(builder), "q");
}

TEST(TemplateBuilder, AFaultLeavesWhatWasRead)
{
    testing::internal::CaptureStderr();
    const ZEL_TemplateBuilder &builder = build("{ name top parm { name a } parm { name b bad } }");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "s Error(1): Dialog Script: unknown identifier: 'bad'\n");
    EXPECT_EQ(tokens(builder), "a");
    testing::internal::CaptureStderr();
    EXPECT_EQ(build(nullptr).templateLength(), 0);
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

TEST(TemplateBuilder, JustBuiltIsAskedOnce)
{
    ZEL_TemplateBuilder &builder = build("{ name top }");
    ZEL_TemplateBuilder early = builder;
    EXPECT_TRUE(builder.justBuilt());
    EXPECT_FALSE(builder.justBuilt());
    ZEL_TemplateBuilder late = builder;
    EXPECT_TRUE(early.justBuilt());
    EXPECT_FALSE(late.justBuilt());
}

TEST(TemplateBuilder, NothingKeepsFromCookingUnlessAskedTo)
{
    ZEL_TemplateBuilder &builder =
        build("{ name top parm { name a parmtag { cook_dependent 0 } } multiparm { name m "
              "multiparm { name n# parm { name c#_# } } } parm { name r type ramp_flt } }");
    for (const char *token : {"a", "m", "n#", "c#_#", "r", "r#pos"}) {
        ZEL_Template *const one = builder.findTemplate(token);
        ASSERT_NE(one, nullptr) << token;
        EXPECT_TRUE(one->getType().isCookable()) << token;
    }
    builder.setNoCook("c#_#", true);
    builder.setNoResim("a", true);
    EXPECT_FALSE(builder.findTemplate("c#_#")->getType().isCookable());
    EXPECT_TRUE(builder.findTemplate("a")->getType().hasAnyOf(ZEL_TYPE_NORESIM));
}

TEST(TemplateBuilder, FindsParentsBeforeTheirChildren)
{
    testing::internal::CaptureStderr();
    ZEL_TemplateBuilder &builder =
        build("{ name top multiparm { name m parm { name m } parm { name p } } parm { name p } }");
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(builder.findTemplate("m"), builder.templates());
    EXPECT_EQ(builder.findTemplate("p"), builder.templates()[0].getMultiParmTemplate() + 1);
    EXPECT_EQ(builder.findTemplate("x"), nullptr);
}

TEST(TemplateBuilder, CallbacksAndMenusAreAdded)
{
    ZEL_TemplateBuilder &builder = build("{ name top multiparm { name m parm { name c# } } }");
    static ZEL_Name names[] = {ZEL_Name("a", "A"), ZEL_Name()};
    static ZEL_ChoiceList menu(ZEL_CHOICELIST_REPLACE, names);
    builder.setChoiceListPtr("c#", &menu);
    builder.setCallback("c#", ZEL_Callback([](void *, int, double, const ZEL_Template *, void *,
                                              intptr_t tag) { return int(tag); },
                                           nullptr, 7));
    const ZEL_Template *const child = builder.templates()[0].getMultiParmTemplate();
    EXPECT_EQ(child->getChoiceListPtr(), &menu);
    EXPECT_EQ(child->getCallback().call(nullptr, 0, 0.0, child), 7);

    testing::internal::CaptureStderr();
    builder.setCallback("x", ZEL_Callback());
    builder.setChoiceListPtr("x", &menu);
    builder.setNoCook("x", true);
    builder.setNoResim("x", true);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Could not find parameter x in file s to add a callback.\n"
              "Could not find parameter x in file s to add a choicelist.\n"
              "Could not find parameter x in file s to set nocook.\n"
              "Could not find parameter x in file s to set noresim.\n");
}

TEST(TemplateBuilder, WalksOfAListSeeFoldersAndItems)
{
    TRK_Collection channels;
    ZEL_ParmList list(build(theNested).templates(), &channels, nullptr, nullptr, "", false);
    EXPECT_EQ(walk(list, "g", 0, 2, false), "6: b2 m3 h4 e5 f6 j7 ");
    EXPECT_EQ(walk(list, "g", 1, 8, true), "1: l8 ");
    EXPECT_EQ(walk(list, "g", 0, 2, true), "6: b2 m3 c110 d111 c212 d213 h4 e5 f6 j7 ");
    EXPECT_EQ(ZEL_Utils::traverseFolder(list, list.getParmPtr("g"), 0, 2, true, nullptr, nullptr),
              6);

    KIT_BitArray bits(list.getEntries());
    ZEL_Utils::flagMultiParmInstances(list, list.getParmPtr("m"), bits);
    std::string flagged;
    for (int i = 0; i < list.getEntries(); i++) {
        flagged += bits[i] ? '1' : '0';
    }
    EXPECT_EQ(flagged, "00000000001111");
}

TEST(TemplateBuilder, WalksGoThroughAnyNumberOfNestedFolders)
{
    constexpr int theDepth = 200000;
    ZEL_Default folder(1.0);
    std::vector<ZEL_Template> templates;
    templates.reserve(theDepth + 2);
    std::deque<std::string> tokens;
    std::deque<ZEL_Name> names;
    for (int i = 0; i <= theDepth; i++) {
        tokens.push_back("s" + std::to_string(i));
        names.emplace_back(tokens.back().c_str(), "");
        templates.emplace_back(i < theDepth ? ZEL_SWITCHER : ZEL_FLT, 1, &names.back(), &folder);
    }
    templates.emplace_back();
    ZEL_ParmList list(templates.data(), nullptr, nullptr, nullptr, "", false);
    int seen = 0;
    const auto count = [](const ZEL_ParmList &, ZEL_Parm *, int, void *data) {
        ++*static_cast<int *>(data);
    };
    EXPECT_EQ(ZEL_Utils::traverseFolder(list, list.getParmPtr(0), 0, 1, false, count, &seen),
              theDepth);
    EXPECT_EQ(seen, theDepth);
}

TEST(TemplateBuilder, WalksPassThePlacesOfBaseParameters)
{
    // Without a base interface, the place of a base parameter has no description.
    ZEL_ParmList list(build("{ name top group { name g parm { name b baseparm } "
                            "group { name h parm { name c } } parm { name a } } }")
                          .templates(),
                      nullptr, nullptr, nullptr, "", false);
    EXPECT_EQ(walk(list, "g", 0, 1, true), "4: 1 h2 c3 a4 ");
    EXPECT_EQ(ZEL_Utils::traverseFolder(list, list.getParmPtr(1), 0, 1, true, nullptr, nullptr), 1);
}
