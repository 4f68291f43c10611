#include "platform/media/g729/ReferenceKernels.h"
#include "platform/media/g729/RootSearch.h"

namespace g729::reference {

using namespace roots;

int FindRoots(const RootPolynomials& polynomials, std::int16_t* found) {
    const bool coarse = polynomials.coarse;
    const std::int16_t* f = polynomials.sum;
    const auto evaluate = [&f, coarse](std::int16_t x) { return Evaluate(f, coarse, x); };
    int count = 0;
    Point low = {RootGrid[0], evaluate(RootGrid[0])};
    for (int j = 1; j <= GridPoints && count < Order; j++) {
        const Point high = low;
        low = {RootGrid[j], evaluate(RootGrid[j])};
        if (!Crosses(low, high)) continue;
        const std::int16_t root = Refine(low, high, evaluate);
        found[count++] = root;
        f = count % 2 == 0 ? polynomials.sum : polynomials.difference;
        low = {root, evaluate(root)};
    }
    return count;
}

}  // namespace g729::reference
