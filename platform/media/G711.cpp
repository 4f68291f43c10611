#include "platform/media/G711.h"

#include "platform/media/G711Tables.h"

namespace {

using namespace media::g711;

constexpr auto AlawExpansion = MakeExpansion<ExpandAlaw>();
constexpr auto UlawExpansion = MakeExpansion<ExpandUlaw>();
constexpr auto AlawCompression = MakeCompression<CompressAlaw, AlawShift>();
constexpr auto UlawCompression = MakeCompression<CompressUlaw, UlawShift>();
constexpr auto UlawAsAlaw = MakeUlawToAlaw();
constexpr auto AlawAsUlaw = MakeAlawToUlaw();

}  // namespace

void AlawToLinear(unsigned char* alaw, short* linear, int samples) {
    for (int i = 0; i < samples; i++) linear[i] = AlawExpansion[alaw[i]];
}

void LinearToAlaw(short* linear, unsigned char* alaw, int samples) {
    for (int i = 0; i < samples; i++) alaw[i] = AlawCompression[static_cast<UWORD>(linear[i]) >> AlawShift];
}

namespace media {

void UlawToLinear(const UBYTE* ulaw, std::int16_t* linear, int samples) {
    for (int i = 0; i < samples; i++) linear[i] = UlawExpansion[ulaw[i]];
}

void LinearToUlaw(const std::int16_t* linear, UBYTE* ulaw, int samples) {
    for (int i = 0; i < samples; i++) ulaw[i] = UlawCompression[static_cast<UWORD>(linear[i]) >> UlawShift];
}

void UlawToAlaw(UBYTE* samples, int count) {
    for (int i = 0; i < count; i++) samples[i] = UlawAsAlaw[samples[i]];
}

void AlawToUlaw(UBYTE* samples, int count) {
    for (int i = 0; i < count; i++) samples[i] = AlawAsUlaw[samples[i]];
}

}  // namespace media
