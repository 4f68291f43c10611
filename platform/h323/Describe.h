// How the types of RAS messages are described.
//
// Each struct has one operation Describe(coder, value), which names its components in the order of the
// standard:
//
//     Additions additions(At(0, "first", value.first));          the additions held, by their number
//     coder.Begin(additions, value.optional1, value.optional2);  the OPTIONAL root components
//     coder.Field("component", value.component);                 every root component
//     coder.End(additions);
//
// From it come the three coders: RasEncoder, RasDecoder and RasPrinter. A SEQUENCE without "..." and OPTIONAL
// has neither Begin nor End.
#pragma once

#include <type_traits>

#include "platform/h323/RasDecoder.h"
#include "platform/h323/RasEncoder.h"
#include "platform/h323/RasPrinter.h"

namespace h323 {

// A value that `Coder` fills in, or only looks at.
template <class Coder, class T>
using Part = std::conditional_t<std::is_same_v<Coder, RasDecoder>, T, const T>;

}  // namespace h323

// In a header: declares that the struct T is described.
// NOLINTBEGIN(bugprone-macro-parentheses): T is a type, and ends up where no parentheses may stand.
#define H323_DECLARE_DESCRIBE(T) \
    template <class Coder>       \
    void Describe(Coder& coder, Part<Coder, T>& value)

// In the source that describes T, behind the description.
#define H323_DEFINE_DESCRIBE(T)                                \
    template void Describe<RasEncoder>(RasEncoder&, const T&); \
    template void Describe<RasDecoder>(RasDecoder&, T&);       \
    template void Describe<RasPrinter>(RasPrinter&, const T&)
// NOLINTEND(bugprone-macro-parentheses)
