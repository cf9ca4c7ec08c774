#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "OrbFlowspec/root/FlowspecSm.h"
#include "agent/HardwareLayout.h"
#include "agent/MountedRecords.h"
#include "platform/kiln/TimerTask.h"

namespace Agent {

// The agent's answers to control requests: a request is the words an operator typed after
// `flowspec-cli`, the answer one JSON line (agent/control-schema.json). `show` requests read
// the status records and policy-maps; `interface` requests write the operator's records
// (Flowspec::CliConfig's enabledIntf, Flowspec::Config's all-interfaces switch) as the
// operator's configuration would; `counters refresh` stamps CliConfig's counter update request
// time and answers once the counter pass has completed, or with an error after
// kCounterRefreshTimeout.
//
// Requests are untrusted: anything malformed gets an error reply with a fixed text (untrusted
// parts quoted and cut), never an exception. Runs on the loop's thread. Replies still waiting
// when this object goes are dropped unanswered. The root, records and scheduler must outlive it.
class ControlCommands {
 public:
  using Reply = std::function<void(std::string const& line)>;

  static constexpr double kCounterRefreshTimeout = 30.0;  // seconds
  static constexpr std::size_t kMaxInterfaceName = 64;

  ControlCommands(OrbFlowspec::FlowspecSm const& root, MountedRecords& records,
                  HardwareLayout hardware, Cog::Ptr<Kiln::TaskScheduler> scheduler);
  ~ControlCommands();

  // Answers `request` through `reply`, now or (counters refresh) later.
  void request(std::string const& request, Reply const& reply);
  // Answers the counter refreshes whose pass has completed or whose time is up; the loop calls
  // it after running the scheduler's tasks.
  void counterRefreshCheck();

 private:
  struct CounterWait {
    double requestTime = 0;
    double deadline = 0;
    Reply reply;
  };

  std::string answer(std::vector<std::string> const& words, Reply const& reply);
  std::string show(std::vector<std::string> const& words);
  std::string interface(std::vector<std::string> const& words);
  std::string countersRefresh(Reply const& reply);

  OrbFlowspec::FlowspecSm const& root_;
  MountedRecords& records_;
  HardwareLayout hardware_;
  Cog::Ptr<Kiln::TaskScheduler> scheduler_;
  std::vector<CounterWait> counterWaits_;
  // Wakes the loop when the earliest wait times out; does nothing itself.
  std::unique_ptr<Kiln::TimerTask> counterTimeout_;
};

}  // namespace Agent
