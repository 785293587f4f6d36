#pragma once
// What stops a job early: the host's flag, or one of the signals that ask a process to end.

#include "frontend/TarnShareMemory.h"
#include "platform/JobSignals.h"

namespace frontend {

class JobStop final : public platform::StopFlag {
public:
    bool isSet() const override { return flag_.isSet() || signals_.isSet(); }

private:
    TarnStopFlag flag_;
    platform::SignalStop signals_;
};

}  // namespace frontend
