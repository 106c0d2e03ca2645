#include "app/doctor/Doctor.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
#include <sstream>

namespace tarvinel {
namespace {

using enum Finding::State;

class DoctorTest : public testing::Test {
 protected:
  std::string reportOf(std::vector<Check> checks,
                       std::chrono::milliseconds timeout = std::chrono::minutes(10)) {
    std::ostringstream out;
    DoctorReport report(out, style);
    Doctor(std::move(checks), timeout).run(report);
    attentionNeeded = report.needsAttention();
    return out.str();
  }

  static Check finding(const std::string& topic, const Findings& findings) {
    return {topic, [findings] { return findings; }};
  }

  DoctorReport::Style style;
  bool attentionNeeded = false;
};

TEST_F(DoctorTest, ReportsTheStateTheTopicWhatWasFoundAndWhatToDo) {
  EXPECT_EQ(reportOf({finding("Port", {{fine, "Port 80 is free.", {}}}),
                      finding("Tray", {{worthKnowing, "None.", {"Do this.", "Or that."}}})}),
            "fine            Port          Port 80 is free.\n"
            "worth knowing   Tray          None.\n"
            "                              → Do this.\n"
            "                              → Or that.\n"
            "\n"
            "Nothing needs attention.\n");
  EXPECT_FALSE(attentionNeeded);
}

TEST_F(DoctorTest, CountsWhatIsToBeMended) {
  EXPECT_EQ(reportOf({finding("Port", {{needsAttention, "Taken.", {}}})}),
            "needs attention Port          Taken.\n"
            "\n"
            "One thing needs attention.\n");
  EXPECT_TRUE(attentionNeeded);
  EXPECT_EQ(
      reportOf({finding("Port", {{needsAttention, "Taken.", {}}, {needsAttention, "Far.", {}}})}),
      "needs attention Port          Taken.\n"
      "needs attention Port          Far.\n"
      "\n"
      "2 things need attention.\n");
}

TEST_F(DoctorTest, KeepsTheOrderWhateverTakesLonger) {
  const Check slow{"First", [] {
                     ::usleep(50'000);
                     return Findings{{fine, "1", {}}};
                   }};
  const auto report = reportOf({slow, finding("Second", {{fine, "2", {}}})});
  EXPECT_LT(report.find("First"), report.find("Second"));
}

TEST_F(DoctorTest, WhatDoesNotEndIsReportedAsLate) {
  const auto hang = []() -> Findings {
    while (true)
      ::pause();
  };
  EXPECT_EQ(reportOf({{"Disk", hang},
                      {"Screen", hang, {needsAttention, "It hangs.", {"Mend it."}}},
                      finding("Port", {{fine, "Port 80 is free.", {}}})},
                     std::chrono::milliseconds(1500)),
            "worth knowing   Disk          This could not be found out.\n"
            "needs attention Screen        It hangs.\n"
            "                              → Mend it.\n"
            "fine            Port          Port 80 is free.\n"
            "\n"
            "One thing needs attention.\n");
}

TEST_F(DoctorTest, ControlCharactersOfTextsFromElsewhereAreNotWritten) {
  EXPECT_NE(reportOf({finding("Port", {{fine, "by \x1b[2Jx\n", {"a\rb"}}})}).find("by ?[2Jx?\n"),
            std::string::npos);
}

TEST_F(DoctorTest, OnATerminalTheStateHasAColour) {
  style = {.hasColours = true};
  EXPECT_EQ(reportOf({finding(
                "A", {{fine, "a", {}}, {worthKnowing, "b", {}}, {needsAttention, "c", {}}})}),
            "\x1b[32mfine            \x1b[0mA             a\n"
            "\x1b[35mworth knowing   \x1b[0mA             b\n"
            "\x1b[1;31mneeds attention \x1b[0mA             c\n"
            "\n"
            "One thing needs attention.\n");
}

TEST_F(DoctorTest, OnATerminalLinesAreWrappedBetweenWords) {
  style = {.columns = 60};
  EXPECT_EQ(reportOf({finding("A", {{fine,
                                     "These are thirty columns × wide, and these are not.",
                                     {"/a/path/longer/than/the/columns/that/are/there"}}})}),
            "fine            A             These are thirty columns ×\n"
            "                              wide, and these are not.\n"
            "                              → /a/path/longer/than/the/columns/that/are/there\n"
            "\n"
            "Nothing needs attention.\n");
}

TEST_F(DoctorTest, InATerminalTooNarrowForThatTheyAreNot) {
  style = {.columns = 40};
  EXPECT_EQ(reportOf({finding("A", {{fine, "This is longer than ten columns.", {}}})}),
            "fine            A             This is longer than ten columns.\n"
            "\n"
            "Nothing needs attention.\n");
}

}  // namespace
}  // namespace tarvinel
