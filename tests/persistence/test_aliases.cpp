// The channel alias block beside a list.

#include <persistence/StreamList.h>

#include <gtest/gtest.h>

#include <tuple>

namespace
{

std::string savedAliases(StreamList &p, bool binary = false)
{
    std::ostringstream os;
    p.list.saveChannelAliases(os, binary);
    return os.str();
}

bool loadAliases(StreamList &p, const std::string &text)
{
    KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
    return p.list.loadChannelAliases(is, "ignored");
}

} // namespace

TEST(ChannelAliases, SaveAndLoad)
{
    StreamList p;
    EXPECT_EQ(savedAliases(p), "{\n}\n");
    EXPECT_TRUE(p.list.setChannelAlias(p.list.getParmPtr("t"), 1, "height"));
    EXPECT_TRUE(p.list.setChannelAlias(p.list.getParmPtr("f"), 0, "part"));
    const std::string text = "{\n\tty height\n\tf part\n}\n";
    EXPECT_EQ(savedAliases(p), text);
    EXPECT_EQ(savedAliases(p, true), text) << "there is no binary form";

    StreamList q;
    EXPECT_TRUE(loadAliases(q, text));
    EXPECT_EQ(savedAliases(q), text);
    int component = -1;
    EXPECT_EQ(q.list.getParmPtrFromChannel("height", &component), q.list.getParmPtr("t"));
    EXPECT_EQ(component, 1);
    EXPECT_TRUE(loadAliases(q, "{ ty \"\" }")) << "an empty alias clears";
    EXPECT_EQ(savedAliases(q), "{\n\tf part\n}\n");
    EXPECT_EQ(q.list.getParmIndexFromChannel("height", nullptr), -1);
    EXPECT_EQ(takeTexts(), "");

    std::ostringstream failed;
    failed.setstate(std::ios::badbit);
    p.list.saveChannelAliases(failed, false);
    EXPECT_EQ(takeTexts(), "Common 10 Channel Aliases Save (ASCII)");
}

TEST(ChannelAliases, WhatLoadTakes)
{
    const std::tuple<const char *, bool, const char *> cases[] = {
        {"{ }", true, "{\n}\n"},
        {"words in front { tx a }", true, "{\n\ttx a\n}\n"},
        {"{ tx \"a\" } ty b", true, "{\n\ttx a\n}\n"},
        {"{ tx a ty b tx c }", true, "{\n\ttx c\n\tty b\n}\n"},
        {"{ a }", true, "{\n}\n"},
        {"{ a b", false, "{\n}\n"},
        {"{ tx", false, "{\n}\n"},
        {"{ tx a", false, "{\n\ttx a\n}\n"},
        {"tx a }", false, "{\n}\n"},
        {"", false, "{\n}\n"},
        {"{ nowhere a ty b }", true, "{\n\tty b\n}\n"},
        {"{ tx ty }", true, "{\n}\n"},             // a channel has that name
        {"{ tx a ty a }", true, "{\n\ttx a\n}\n"}, // an alias is used once
        {"{ tx a a b }", true, "{\n\ttx a\n}\n"},  // an alias is no channel token
    };
    for (const auto &[given, loaded, saved] : cases) {
        StreamList p;
        EXPECT_EQ(loadAliases(p, given), loaded) << given;
        EXPECT_EQ(savedAliases(p), saved) << given;
        EXPECT_EQ(takeTexts(), "") << given;
    }
}
