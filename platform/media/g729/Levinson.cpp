#include "platform/media/g729/Levinson.h"

#include "platform/media/g729/ReferenceKernels.h"

namespace g729 {

namespace {

constexpr int StabilityLimit = 32750;  // Q15, of a reflection coefficient
constexpr int WorkingShift = 4;        // coefficients are kept in Q27

// A number in double precision, both parts of it ready for products.
struct Parts {
    std::int32_t hi = 0;
    std::int32_t lo = 0;

    G729_OPERATION static Parts Of(std::int32_t x) { return {x >> 16, (x >> 1) & 0x7FFF}; }
    G729_OPERATION std::int32_t Whole() const { return hi * 0x10000 + lo * 2; }
};

// The recursion of the standard without clipping. Every 32-bit number that the standard would have clipped is
// noted.
class Straight {
 public:
    explicit Straight(const Dpf r[Coefficients]) {
        for (int i = 0; i <= Order; i++) this->r[i] = {r[i].hi, r[i].lo};
        energy = this->r[0];
        FindInverse();
    }

    // False where it is not the recursion of the standard; `isStable` is then without meaning.
    bool Run(bool& isStable) {
        const std::int32_t first = Quotient(r[1].Whole());
        a[1] = Parts::Of(first >> WorkingShift);
        Shrink(Parts::Of(first));
        isStable = Extend<2>() && Extend<3>() && Extend<4>() && Extend<5>() && Extend<6>() && Extend<7>() &&
                   Extend<8>() && Extend<9>() && Extend<10>();
        return (outside >> 32) == 0;
    }

    void Give(std::int16_t coefficients[Coefficients]) const {
        coefficients[0] = 4096;
        for (int i = 1; i <= Order; i++) coefficients[i] = Round(LShl(a[i].Whole(), 1));
    }

 private:
    G729_OPERATION static std::int32_t Product(Parts x, Parts y) {
        return 2 * (x.hi * y.hi + ((x.hi * y.lo) >> 15) + ((x.lo * y.hi) >> 15));
    }

    [[gnu::always_inline]] std::int32_t Note(std::int64_t x) {
        outside |= static_cast<std::uint64_t>(x) + 0x80000000;
        return static_cast<std::int32_t>(x);
    }

    // Of the normalised energy, for Quotient; both as `Divide` has them.
    [[gnu::always_inline]] void FindInverse() {
        if (energy.hi < 0x4000) {
            outside = ~std::uint64_t{0};
            energy = {0x4000, 0};
        }
        const std::int32_t first = DivS(0x3FFF, static_cast<std::int16_t>(energy.hi));
        const std::int32_t rest = Max32 - 2 * (energy.hi * first + ((energy.lo * first) >> 15));
        const Parts parts = Parts::Of(rest);
        inverse = Parts::Of(2 * (parts.hi * first + ((parts.lo * first) >> 15)));
    }

    // -t / energy.
    [[gnu::always_inline]] std::int32_t Quotient(std::int32_t t) {
        const std::int32_t product = Product(Parts::Of(LAbs(t)), inverse);
        const std::int32_t quotient = Note(static_cast<std::int64_t>(product) * 4);
        return t > 0 ? -quotient : quotient;
    }

    [[gnu::always_inline]] void Shrink(Parts k) {
        const std::int32_t left = Product(energy, Parts::Of(Max32 - LAbs(Product(k, k))));
        const int norm = NormL(left);
        energy = Parts::Of(static_cast<std::int32_t>(static_cast<std::uint32_t>(left) << norm));
        exponent += norm;
        FindInverse();
    }

    // False when the filter would be on the verge of instability.
    template <int Order>
    [[gnu::always_inline]] bool Extend() {
        if (exponent > 31) outside = ~std::uint64_t{0};
        if (outside >> 32 != 0) return false;
        std::int64_t sum = 0;
#pragma GCC unroll 10
        for (int j = 1; j < Order; j++) {
            sum += Product(r[j], a[Order - j]);
            Note(sum);
        }
        const std::int32_t error = Note(Note(sum * (1 << WorkingShift)) + std::int64_t{r[Order].Whole()});
        const std::int32_t reflection =
            Note(static_cast<std::int64_t>(Quotient(error)) * (std::int64_t{1} << exponent));
        const Parts k = Parts::Of(reflection);
        if (k.hi > StabilityLimit || k.hi < -StabilityLimit) return false;
        Parts next[Order];
#pragma GCC unroll 10
        for (int j = 1; j < Order; j++) {
            next[j] = Parts::Of(Note(std::int64_t{Product(k, a[Order - j])} + a[j].Whole()));
        }
#pragma GCC unroll 10
        for (int j = 1; j < Order; j++) a[j] = next[j];
        a[Order] = Parts::Of(reflection >> WorkingShift);
        Shrink(k);
        return true;
    }

    Parts r[Coefficients];
    Parts a[Coefficients];
    Parts energy;
    Parts inverse;
    int exponent = 0;
    std::uint64_t outside = 0;  // has bits above the 32nd when a number did not fit
};

}  // namespace

void Levinson(const Dpf r[Coefficients], std::int16_t a[Coefficients]) {
    Straight recursion(r);
    bool isStable = false;
    if (!recursion.Run(isStable)) {
        reference::Levinson(r, a);
    } else if (isStable) {
        recursion.Give(a);
    }
}

}  // namespace g729
