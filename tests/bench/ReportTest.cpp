#include "Report.h"

#include <gtest/gtest.h>

#include <limits>

namespace bench {
namespace {

Figure ratioFigure(double ours, double floor, double target) {
   return {.key = "rate",
           .ours = ours,
           .floor = floor,
           .unit = "calls/s",
           .target = Target{.kind = Target::Kind::ratioAtLeast, .value = target},
           .note = ""};
}

Figure limitFigure(double ours, double limit) {
   return {.key = "limit",
           .ours = ours,
           .floor = std::nullopt,
           .unit = "ms",
           .target = Target{.kind = Target::Kind::oursAtMost, .value = limit},
           .note = ""};
}

TEST(Report, aRatioMustReachItsTarget) {
   EXPECT_TRUE(ratioFigure(80, 100, 0.8).reached());
   EXPECT_FALSE(ratioFigure(79, 100, 0.8).reached());
}

TEST(Report, aRatioMustStayBelowItsTarget) {
   auto figure = ratioFigure(100, 100, 1);
   figure.target->kind = Target::Kind::ratioAtMost;
   EXPECT_TRUE(figure.reached());
   figure.ours = 101;
   EXPECT_FALSE(figure.reached());
   figure.floor = std::nullopt;
   EXPECT_FALSE(figure.reached());
}

TEST(Report, aLimitMustNotBePassed) {
   EXPECT_TRUE(limitFigure(10, 10).reached());
   EXPECT_FALSE(limitFigure(10.1, 10).reached());
}

TEST(Report, whatNeverComesMissesItsLimitAndIsNullInJson) {
   Report report;
   report.add(limitFigure(std::numeric_limits<double>::infinity(), 10));
   EXPECT_EQ(report.missed(), std::vector<std::string>{"limit"});
   EXPECT_TRUE(nlohmann::json::parse(report.json().dump()).at("limit").at("ours").is_null());
}

TEST(Report, jsonHoldsTheFourFieldsOfEachKey) {
   Report report;
   report.add(ratioFigure(80, 100, 0.8));
   report.add(limitFigure(12, 10));
   EXPECT_EQ(report.json(), nlohmann::json::parse(R"({
      "rate": {"ours": 80.0, "floor": 100.0, "ratio": 0.8, "unit": "calls/s"},
      "limit": {"ours": 12.0, "floor": null, "ratio": null, "unit": "ms"}})"));
   EXPECT_EQ(report.missed(), std::vector<std::string>{"limit"});
}

TEST(Report, median) {
   EXPECT_EQ(median({3, 1, 2}), 2);
   EXPECT_EQ(median({4, 1, 2, 3}), 2.5);
   EXPECT_THROW(median({}), std::invalid_argument);
}

}  // namespace
}  // namespace bench
