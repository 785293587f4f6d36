#pragma once
// The host's request to end a job early. Long loops poll it; it never changes from set to clear
// during a job. The front end supplies the shared-memory flag; tests supply their own.

namespace platform {

class StopFlag {
public:
    virtual ~StopFlag() = default;
    virtual bool isSet() const = 0;
};

class NeverStop final : public StopFlag {
public:
    bool isSet() const override { return false; }
};

}  // namespace platform
