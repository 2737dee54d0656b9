#include "ChassisFixture.h"
#include "sim/CardConfiguration.h"

namespace ponmgr::sim {
namespace {

TEST(CardConfiguration, OfTheFactoryIsEnabledUnmarkedAndEmpty) {
    const auto factory = CardConfiguration::factory();
    EXPECT_TRUE(factory.enabled);
    EXPECT_FALSE(factory.isMarked());
    EXPECT_TRUE(factory.domains.empty());
    EXPECT_TRUE(factory.paths.empty());
}

TEST(CardConfiguration, ProvisionedIsMarkedWithPathsAndADomain) {
    const auto provisioned = CardConfiguration::provisioned();
    EXPECT_TRUE(provisioned.isMarked());
    EXPECT_EQ(provisioned.paths.size(), 8U);
    ASSERT_EQ(provisioned.domains.size(), 1U);
    EXPECT_EQ(provisioned.domains[0].id, 1026);
    EXPECT_EQ(provisioned.usageOfPath(0x2000), 1);
    EXPECT_EQ(provisioned.usageOfPath(0x2008), 0);
}

TEST(CardConfiguration, IsMarkedByTheFirstSetOfTheMarkersOui) {
    auto configuration = CardConfiguration::factory();
    configuration.extensionSets[3] = {4, 0, kMarkerOui, true};
    EXPECT_FALSE(configuration.isMarked());
}

TEST(CardConfiguration, RefusesPathsAndDomainsBeyondItsTables) {
    CardConfiguration configuration;
    for (std::size_t i = 0; i < CardConfiguration::kMostPaths; ++i) {
        ASSERT_TRUE(configuration.setPath(static_cast<std::uint16_t>(i), {}));
    }
    EXPECT_FALSE(configuration.setPath(5000, {}));
    EXPECT_TRUE(configuration.setPath(0, {}));
    for (std::size_t i = 0; i < CardConfiguration::kMostDomains; ++i) {
        ASSERT_TRUE(configuration.setDomain({static_cast<std::uint16_t>(i), 0, {}}));
    }
    EXPECT_FALSE(configuration.setDomain({5000, 0, {}}));
    EXPECT_TRUE(configuration.setDomain({0, 0, {}}));
}

Rule ruleOf(const std::string& hex) {
    const auto bytes = bytesOf(hex);
    Reader reader(bytes);
    return readRule(reader).value_or(Rule{});
}

TEST(RuleTable, ReadsEighteenBytesAndAsManyMoreAsTheFourthSaysLessOne) {
    EXPECT_EQ(ruleOf("08010400" + zeros(20)).size(), 18U);
    EXPECT_EQ(ruleOf("08010401" + zeros(20)).size(), 18U);
    EXPECT_EQ(ruleOf("08010405" + zeros(20)).size(), 22U);
    EXPECT_TRUE(ruleOf("08010405" + zeros(17)).empty());
    EXPECT_TRUE(ruleOf("080104" + zeros(14)).empty());
}

TEST(RuleTable, ReadsTheLengthInTheFourthByteInDecimal) {
    EXPECT_EQ(ruleOf("08010412" + zeros(25)).size(), 18U + 11U);
    EXPECT_EQ(ruleOf("0801040a" + zeros(62)).size(), 18U + 48U);
    EXPECT_EQ(ruleOf("080104ff" + zeros(95)).size(), 18U + 81U);
    EXPECT_TRUE(ruleOf("08010412" + zeros(24)).empty());
}

TEST(RuleTable, HoldsARuleOnce) {
    RuleTable table;
    EXPECT_TRUE(table.add(ruleOf(zeros(18))));
    EXPECT_TRUE(table.add(ruleOf(zeros(18))));
    EXPECT_EQ(table.all().size(), 1U);
}

TEST(RuleTable, RefusesMoreThanFitIntoOneAnswer) {
    RuleTable table;
    std::uint8_t next = 0;
    while (table.add({next, 1, 4, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7})) {
        ++next;
    }
    EXPECT_EQ(table.all().size(), 77U);
}

}  // namespace
}  // namespace ponmgr::sim
