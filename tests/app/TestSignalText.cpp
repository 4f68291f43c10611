// Messages composed without the C library's formatter.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <csignal>
#include <string>

#include "app/SignalText.h"

namespace {

// What a message writes to a pipe in the place of standard output.
std::string Written(const char* format, std::initializer_list<SignalArgument> arguments) {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    fflush(stdout);
    const int kept = dup(STDOUT_FILENO);
    dup2(ends[1], STDOUT_FILENO);
    EXPECT_TRUE(WriteSignalText(format, arguments));
    dup2(kept, STDOUT_FILENO);
    close(kept);
    close(ends[1]);
    std::array<char, 1024> text{};
    const ssize_t count = read(ends[0], text.data(), text.size());
    close(ends[0]);
    return {text.data(), static_cast<std::size_t>(count)};
}

TEST(SignalText, ComposesNumbersAndTexts) {
    struct Row {
        const char* format;
        std::initializer_list<SignalArgument> arguments;
        std::string text;
    };
    const std::initializer_list<SignalArgument> numbers{0, -1, INT_MAX, INT_MIN};
    const std::initializer_list<SignalArgument> mixed{15, "user", 42};
    const std::initializer_list<SignalArgument> empty{""};
    const Row rows[] = {{"plain", {}, "plain\n"},
                        {"", {}, "\n"},
                        {"\nends\n\n", {}, "\nends\n\n"},
                        {"%d %d %d %d", numbers, "0 -1 2147483647 -2147483648\n"},
                        {"signal %d (%s), pid %d\n", mixed, "signal 15 (user), pid 42\n"},
                        {"[%s]", empty, "[]\n"}};
    for (const Row& row : rows) EXPECT_EQ(Written(row.format, row.arguments), row.text);
    const std::string longText(1000, 'x');
    EXPECT_EQ(Written("%s", {longText.c_str()}), std::string(255, 'x') + "\n");
}

TEST(SignalText, TellsWhenNobodyReads) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    close(ends[0]);
    signal(SIGPIPE, SIG_IGN);
    fflush(stdout);
    const int kept = dup(STDOUT_FILENO);
    dup2(ends[1], STDOUT_FILENO);
    const bool read = WriteSignalText("unread", {});
    dup2(kept, STDOUT_FILENO);
    signal(SIGPIPE, SIG_DFL);
    close(kept);
    close(ends[1]);
    EXPECT_FALSE(read);
}

}  // namespace
