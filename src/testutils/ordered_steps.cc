#include "testutils/ordered_steps.h"

#include <utility>

OrderedSteps::OrderedSteps(std::size_t limit) : limit_(limit > 0 ? limit : 1) {}

OrderedSteps::~OrderedSteps() { Finish(); }

void OrderedSteps::Then(std::function<void()> step) {
  if (queue_.empty() || in_step_) {
    step();
    return;
  }
  Item item;
  item.step = std::move(step);
  queue_.push_back(std::move(item));
}

void OrderedSteps::After(std::unique_ptr<pnl_proc::Execute> command,
                         std::function<void(pnl_proc::Execute&)> step) {
  if (in_step_) {
    // A step's own command is its continuation: it is waited for here.
    command->Run();
    step(*command);
    return;
  }
  while (running_ >= limit_ && !queue_.empty()) RunOldest();
  // What waited only for the commands waited for goes out now.
  while (!queue_.empty() && !queue_.front().command) RunOldest();
  command->Start();
  ++running_;
  Item item;
  item.command = std::move(command);
  item.after = std::move(step);
  queue_.push_back(std::move(item));
}

void OrderedSteps::Finish() {
  while (!queue_.empty()) RunOldest();
}

void OrderedSteps::RunOldest() {
  Item item = std::move(queue_.front());
  queue_.pop_front();
  in_step_ = true;
  if (item.command) {
    item.command->Wait();
    --running_;
    item.after(*item.command);
  } else {
    item.step();
  }
  in_step_ = false;
}
