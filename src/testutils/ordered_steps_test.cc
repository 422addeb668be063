#include "testutils/ordered_steps.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "pnl/file.h"
#include "support/scratch_dir.h"

namespace {

using testing_support::ScratchDir;

std::unique_ptr<pnl_proc::Execute> Command(const std::string& script) {
  return std::make_unique<pnl_proc::Execute>(std::vector<std::string>{"sh", "-c", script});
}

TEST(OrderedStepsTest, StepRunsAtOnceWhenNothingWaits) {
  OrderedSteps steps(2);
  std::vector<std::string> said;
  steps.Then([&said] { said.push_back("a"); });
  EXPECT_EQ(std::vector<std::string>{"a"}, said);
}

TEST(OrderedStepsTest, StepsGivenAfterACommandWaitForIt) {
  ScratchDir dir;
  OrderedSteps steps(2);
  std::vector<std::string> said;
  steps.Then([&said] { said.push_back("before"); });
  steps.After(Command("sleep 0.05; echo done > made"), [&said](pnl_proc::Execute& command) {
    said.push_back("command " + std::to_string(command.Result()) + " " +
                   (pnl_file::Exists("made") ? "made" : "not made"));
  });
  steps.Then([&said] { said.push_back("after"); });
  EXPECT_EQ(std::vector<std::string>{"before"}, said);
  steps.Finish();
  EXPECT_EQ((std::vector<std::string>{"before", "command 0 made", "after"}), said);
}

TEST(OrderedStepsTest, AtMostTheLimitRunsAndTheOldestIsWaitedForFirst) {
  ScratchDir dir;
  OrderedSteps steps(2);
  std::vector<std::string> said;
  for (const char* name : {"1", "2", "3"}) {
    steps.After(Command(std::string("sleep 0.02; exit ") + name),
                [&said](pnl_proc::Execute& command) {
                  said.push_back(std::to_string(command.Result()));
                });
    steps.Then([&said, name] { said.push_back(std::string("then ") + name); });
    EXPECT_LE(steps.Running(), 2u);
  }
  // Starting the third waited for the first and ran what followed it.
  EXPECT_EQ((std::vector<std::string>{"1", "then 1"}), said);
  steps.Finish();
  EXPECT_EQ(0u, steps.Running());
  EXPECT_EQ((std::vector<std::string>{"1", "then 1", "2", "then 2", "3", "then 3"}), said);
}

TEST(OrderedStepsTest, WhatAStepGivesRunsInItsPlace) {
  ScratchDir dir;
  OrderedSteps steps(1);
  std::vector<std::string> said;
  steps.After(Command("true"), [&said, &steps](pnl_proc::Execute&) {
    said.push_back("outer");
    steps.Then([&said] { said.push_back("inner"); });
    steps.After(Command("exit 4"), [&said](pnl_proc::Execute& command) {
      said.push_back("inner command " + std::to_string(command.Result()));
    });
    said.push_back("outer end");
  });
  steps.Then([&said] { said.push_back("last"); });
  steps.Finish();
  EXPECT_EQ((std::vector<std::string>{"outer", "inner", "inner command 4", "outer end", "last"}),
            said);
}

TEST(OrderedStepsTest, WhatIsQueuedRunsWhenTheStepsEnd) {
  ScratchDir dir;
  std::vector<std::string> said;
  {
    OrderedSteps steps(2);
    steps.After(Command("true"), [&said](pnl_proc::Execute&) { said.push_back("command"); });
    steps.Then([&said] { said.push_back("then"); });
  }
  EXPECT_EQ((std::vector<std::string>{"command", "then"}), said);
}

}  // namespace
