// What a trigger loop calls when its descriptor can be read. The loop's thread.
#pragma once

namespace kernel {

class Readable {
 public:
    virtual void OnReadable() = 0;
    // Media waits for its turn (TriggerLoop); everything else is served at once.
    virtual bool IsMedia() const = 0;

 protected:
    ~Readable() = default;
};

}  // namespace kernel
