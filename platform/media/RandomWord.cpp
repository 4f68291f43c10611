#include "platform/media/RandomWord.h"

#include <sys/random.h>

#include "platform/kernel/Clock.h"

namespace media {

ULONG RandomWord() {
    ULONG word = 0;
    // The kernel serves so few bytes whole once it is up; before that the clock has to do.
    if (getrandom(&word, sizeof word, GRND_NONBLOCK) != sizeof word) {
        word = static_cast<ULONG>(os_clock_us()) * 2654435761U;
    }
    return word;
}

}  // namespace media
