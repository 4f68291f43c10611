// The extension additions of a SEQUENCE: those behind the "..." that are held here, by their number.
#pragma once

#include <cstdint>
#include <tuple>

namespace h323 {

// One addition; T is a std::optional of its type, const when it is to be sent.
template <class T>
struct Addition {
    std::uint32_t index;  // 0 is the first behind the "..."
    const char* name;
    T& value;
};

template <class T>
Addition<T> At(std::uint32_t index, const char* name, T& value) {
    return {index, name, value};
}

// Made at the beginning of a value, from the Addition of each that is held, in ascending order.
template <class... T>
class Additions {
 public:
    explicit Additions(Addition<T>... additions) : held(additions...) {}

    template <class F>
    void ForEach(F visit) {
        std::apply([&visit](auto&... addition) { (visit(addition), ...); }, held);
    }

    // How many presence bits it takes: up to the last addition that is there.
    std::uint32_t Count() {
        std::uint32_t count = 0;
        ForEach([&count](auto& addition) { count = addition.value ? addition.index + 1 : count; });
        return count;
    }

    bool IsPresent(std::uint32_t index) {
        bool present = false;
        ForEach([&](auto& addition) { present |= addition.index == index && addition.value; });
        return present;
    }

    bool received = false;  // on receipt: additions follow the root components

 private:
    std::tuple<Addition<T>...> held;
};

}  // namespace h323
