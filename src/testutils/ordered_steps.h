// Keeps what an audit says in order while the commands it starts run.
//
// The missing-message audit asks the panel (through pnlctl) for a checked
// messages file before it may say that a hint is missing, and what it says
// after that must come after it. Waiting for each command before going on
// leaves the audit idle for most of a large run. OrderedSteps lets the
// audit go on: a step that needs a command's end is queued behind it, and
// every step given later is queued behind that one, so that the steps run
// in exactly the order they were given, as if every command had been
// waited for where it was started. A few commands run at once.
#ifndef MSGLINT_ORDERED_STEPS_H_
#define MSGLINT_ORDERED_STEPS_H_

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>

#include "pnl/proc.h"

class OrderedSteps {
 public:
  // `limit`: how many started commands may run at once (at least 1).
  explicit OrderedSteps(std::size_t limit);
  // Runs whatever is still queued.
  ~OrderedSteps();
  OrderedSteps(const OrderedSteps&) = delete;
  OrderedSteps& operator=(const OrderedSteps&) = delete;

  // Runs `step` now when nothing is queued, otherwise after everything
  // queued.
  void Then(std::function<void()> step);
  // Starts `command` and queues `step`, which gets the command once it has
  // ended. When `limit` commands run already, first waits for the oldest
  // (running the steps queued up to it).
  void After(std::unique_ptr<pnl_proc::Execute> command,
             std::function<void(pnl_proc::Execute&)> step);
  // Waits for every command and runs every queued step.
  void Finish();

  // Commands started and not yet waited for.
  std::size_t Running() const { return running_; }

 private:
  struct Item {
    std::unique_ptr<pnl_proc::Execute> command;  // null for a plain step
    std::function<void()> step;
    std::function<void(pnl_proc::Execute&)> after;
  };

  // Runs the oldest queued item, waiting for its command first.
  void RunOldest();

  std::size_t limit_;
  std::size_t running_ = 0;
  std::deque<Item> queue_;
  // True while a queued step runs: what it gives is its own continuation
  // and runs at once.
  bool in_step_ = false;
};

#endif  // MSGLINT_ORDERED_STEPS_H_
