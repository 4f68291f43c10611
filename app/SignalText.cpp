#include "app/SignalText.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>

namespace {

class Composer {
 public:
    void Add(char byte) {
        if (length < text.size() - 1) text[length++] = byte;
    }

    void Add(const char* more) {
        for (; *more != '\0'; more++) Add(*more);
    }

    void Add(int number) {
        std::array<char, 12> digits{};
        std::size_t count = 0;
        // The magnitude of INT_MIN has no int.
        unsigned rest = number < 0 ? 0U - static_cast<unsigned>(number) : static_cast<unsigned>(number);
        do {
            digits[count++] = static_cast<char>('0' + rest % 10);
            rest /= 10;
        } while (rest != 0);
        if (number < 0) Add('-');
        while (count > 0) Add(digits[--count]);
    }

    void Add(const SignalArgument& argument) {
        if (argument.text != nullptr) {
            Add(argument.text);
        } else {
            Add(argument.number);
        }
    }

    void EndLine() {
        if (length == 0 || text[length - 1] != '\n') text[length++] = '\n';
    }

    bool WriteOut() const {
        std::size_t done = 0;
        while (done < length) {
            const ssize_t written = write(STDOUT_FILENO, text.data() + done, length - done);
            if (written >= 0) {
                done += static_cast<std::size_t>(written);
            } else if (errno != EINTR) {
                return errno != EPIPE;
            }
        }
        return true;
    }

 private:
    std::array<char, 256> text{};
    std::size_t length = 0;
};

}  // namespace

bool WriteSignalText(const char* format, std::initializer_list<SignalArgument> arguments) {
    Composer message;
    const SignalArgument* next = arguments.begin();
    for (; *format != '\0'; format++) {
        if (*format == '%' && next != arguments.end()) {
            format++;
            message.Add(*next++);
        } else {
            message.Add(*format);
        }
    }
    message.EndLine();
    return message.WriteOut();
}
