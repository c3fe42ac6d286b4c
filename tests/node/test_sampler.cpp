// Many numbers at once are those that single reads give.

#include <BAS/BAS_Thread.h>
#include <NOD/NOD_Address.h>
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Sampler.h>
#include <NOD/NOD_Scene.h>
#include <ZEL/ZEL_Parm.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

namespace
{

constexpr const char *theScript = R"({ name a
  parm { name t type vector }
  parm { name n type integer default { 3 } }
  parm { name text type string } })";

struct Sampled : testing::Test
{
    Sampled()
    {
        const auto interface = NOD_Interface::fromText(theScript, "a", report);
        for (const char *const path : {"/a", "/b"}) {
            NOD_Node &node = *scene.add(path, interface, report);
            NOD_Edit edit(node, "Animate");
            edit.key(node, "tx", 0.0, 0.0);
            edit.key(node, "tx", 2.0, 10.0);
            edit.expression(node, "ty", "ch('tx') * $F");
        }
        for (int i = 0; i < 3000; ++i) {
            times.push_back(i / 1000.0);
        }
    }
    bool add(const std::string &address)
    {
        bool good = true;
        for (const NOD_Place &place : NODfindPlaces(scene.getRoot(), address, report)) {
            good = sampler.add(place, report) && good;
        }
        return good && !report.hasErrors();
    }
    std::vector<double> sample(const NOD_Sampler::Around &around = {})
    {
        std::vector<double> rows(times.size() * sampler.getWidth(), -1.0);
        sampler.sample(times.data(), times.size(), rows.data(), fault, around);
        return rows;
    }

    NOD_Scene scene;
    NOD_Report report;
    NOD_Sampler sampler;
    NOD_SampleFault fault;
    std::vector<double> times;
};

} // namespace

TEST_F(Sampled, RowsAreWhatReadsGive)
{
    ASSERT_TRUE(add("/*/t") && add("/b/n")) << report.asText();
    ASSERT_EQ(sampler.getWidth(), 7u);
    std::atomic<int> shares{0};
    const std::vector<double> rows = sample([&](const std::function<void()> &share) {
        ++shares;
        share();
    });
    EXPECT_GT(shares.load(), 1);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const std::size_t column = i % sampler.getWidth();
        double value = 0.0;
        sampler.getParm(column).getValue(times[i / sampler.getWidth()], value,
                                         sampler.getComponent(column), BASgetSTID());
        ASSERT_EQ(rows[i], value) << i;
    }
    EXPECT_EQ(fault.count, 0);
}

TEST_F(Sampled, TheFirstFaultIsTold)
{
    NOD_Node &node = *scene.find("/b");
    NOD_Edit(node, "Break").expression(node, "tz", "if($F > 25, nothing(1), 2)");
    ASSERT_TRUE(add("/*/t"));
    sample();
    EXPECT_GT(fault.count, 0);
    EXPECT_EQ(fault.column, 5u);
    EXPECT_NE(fault.number, 0);
    EXPECT_EQ(fault.row, 0u); // a call of what isn't there is found when the text is compiled
}

TEST_F(Sampled, OnlyNumbersCanBeSampled)
{
    EXPECT_FALSE(add("/a/text"));
    EXPECT_NE(report.asText().find("has no numbers"), std::string::npos);
    const std::vector<NOD_Place> places = NODfindPlaces(scene.getRoot(), "/a/n", report);
    scene.find("/a")->renewParms(static_cast<ZEL_Template *>(nullptr));
    EXPECT_FALSE(sampler.add(places.at(0), report));
    EXPECT_EQ(sampler.getWidth(), 0u);
    EXPECT_TRUE(sample().empty());
}
