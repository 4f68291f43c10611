// The console's lines, and the reopening of the log under load.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <map>
#include <regex>
#include <sstream>
#include <thread>

#include "app/Globals.h"
#include "app/LogFiles.h"
#include "app/MainConsole.h"
#include "app/Signals.h"
#include "tests/app/Daemon.h"

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define COUNT_ALLOCATIONS
#endif

#ifdef COUNT_ALLOCATIONS
namespace {
std::atomic<long> allocations{0};
}
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* malloc(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}
#endif

namespace {

constexpr std::size_t StampLength = std::string_view("18/11/2026 14:03:07.042518 ").size();

// Standard output while it lives; what went there is its `Text`.
class CapturedOutput {
 public:
    CapturedOutput() : kept((fflush(stdout), dup(STDOUT_FILENO))), file(tmpfile()) {
        dup2(fileno(file), STDOUT_FILENO);
    }
    ~CapturedOutput() {
        dup2(kept, STDOUT_FILENO);
        close(kept);
        fclose(file);
    }
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    std::string Text() const {
        std::string text(static_cast<std::size_t>(lseek(fileno(file), 0, SEEK_END)), '\0');
        EXPECT_EQ(pread(fileno(file), text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
        return text;
    }

 private:
    int kept;
    FILE* file;
};

// The messages of lines that each must begin with a time stamp.
std::vector<std::string> Messages(const std::string& output) {
    static const std::regex stamp(R"(\d\d/\d\d/\d{4} \d\d:\d\d:\d\d\.\d{6} )");
    std::vector<std::string> messages;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_TRUE(std::regex_match(line.substr(0, StampLength), stamp)) << line;
        messages.push_back(line.size() < StampLength ? line : line.substr(StampLength));
    }
    return messages;
}

TEST(MainConsole, EveryReportIsOneStampedLine) {
    const CapturedOutput output;
    MainConsole console;
    console.Print("Waiting for %s.....", "IP Address");
    console.Print("with its own end\n");
    console.Print("%s", "");
    console.Print("\n");
    console.Warning("low on %d", 7);
    console.Warning(OSConsole::WARNING_RECORDING, "typed %d", 8);
    const std::vector<std::string> expected{
        "Waiting for IP Address.....", "with its own end", "", "", "WARNING:", "low on 7", "", "typed 8"};
    EXPECT_EQ(Messages(output.Text()), expected);
    EXPECT_EQ(output.Text().back(), '\n');
}

TEST(MainConsole, LongLinesAreCutAndStillEnd) {
    constexpr std::size_t Longest = 1023;
    for (const std::size_t length : {Longest - StampLength - 2, Longest - StampLength - 1,
                                     Longest - StampLength, Longest - StampLength + 1, std::size_t{100000}}) {
        for (const std::string end : {"", "\n"}) {
            const std::string message(length, 'x');
            const CapturedOutput output;
            MainConsole console;
            console.Print("%s%s", message.c_str(), end.c_str());
            const std::string text = output.Text();
            EXPECT_EQ(text.size(), std::min(Longest, StampLength + length + 1));
            EXPECT_EQ(text.find('\n'), text.size() - 1);
        }
    }
}

TEST(MainConsole, StampsTheLocalTime) {
    const CapturedOutput output;
    const time_t before = time(nullptr);
    MainConsole().Print("now");
    const time_t after = time(nullptr);
    const std::string stamp = output.Text().substr(0, std::string_view("18/11/2026 14:03:07").size());
    bool found = false;
    for (time_t second = before; second <= after; second++) {
        char text[32];
        tm local{};
        strftime(text, sizeof text, "%d/%m/%Y %H:%M:%S", localtime_r(&second, &local));
        found = found || stamp == text;
    }
    EXPECT_TRUE(found) << stamp;
}

#ifdef COUNT_ALLOCATIONS
TEST(MainConsole, PrintingAllocatesNothing) {
    const CapturedOutput output;
    MainConsole console;
    const std::string name(2000, 'n');
    const long before = allocations;
    for (int i = 0; i < 100; i++)
        console.Print("line %d of %s at %p, %05u", i, name.c_str(), static_cast<void*>(&console), 42U);
    EXPECT_EQ(allocations, before);
}
#endif

TEST(MainConsole, FatalReportsAndAborts) {
    // The death test looks at standard error.
    const auto die = [] {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        MainConsole().Fatal("no way %s", "on");
    };
    EXPECT_EXIT(die(), testing::KilledBySignal(SIGABRT), "FATAL:\n.*no way on\n");
}

// A process that logs to a file from several threads, as fast as it can, until it is terminated.
[[noreturn]] void RunWriters(const std::string& root, int writers) {
    globalHostedRoot = root.c_str();
    if (!StartFileLog()) _exit(1);
    InstallSignalHandlers();
    MainConsole console;
    std::vector<std::thread> threads;
    {
        const TerminationBlock blocked;
        for (int writer = 0; writer < writers; writer++) {
            threads.emplace_back([&console, writer] {
                for (int line = 0; !TerminationRequested(); line++)
                    console.Print("writer %d line %d", writer, line);
            });
        }
    }
    while (!TerminationRequested()) WaitForSignal(1000000);
    for (std::thread& thread : threads) thread.join();
    _exit(0);
}

bool WaitForFile(const std::string& path) {
    for (int i = 0; i < 20000; i++) {
        if (access(path.c_str(), F_OK) == 0) return true;
        usleep(1000);
    }
    return false;
}

// Checks that the lines of every writer are all there, whole and in order.
void ExpectAllLines(const std::string& log, int writers) {
    static const std::regex whole(R"(.{27}writer (\d) line (\d+))");
    std::map<std::string, int> next;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        std::smatch parts;
        if (line.empty() || line.rfind("*****", 0) == 0) continue;
        ASSERT_TRUE(std::regex_match(line, parts, whole)) << line;
        ASSERT_EQ(std::stoi(parts[2]), next[parts[1]]++) << line;
    }
    EXPECT_EQ(next.size(), static_cast<std::size_t>(writers));
}

TEST(MainConsole, NoLineIsLostOrTornWhenTheLogIsRotatedUnderLoad) {
    constexpr int Writers = 4;
    constexpr int Rotations = 20;
    const TemporaryRoot root;
    root.MakeFolder("logs");
    const std::string log = root.Path() + "/logs/Compressor.log";
    const pid_t child = fork();
    if (child == 0) RunWriters(root.Path(), Writers);
    std::vector<std::string> names;
    for (int i = 0; i < Rotations; i++) {
        ASSERT_TRUE(WaitForFile(log));
        // Some lines in every file.
        while (root.Read("logs/Compressor.log").size() < 5000) usleep(1000);
        names.push_back("logs/rotated." + std::to_string(i));
        ASSERT_EQ(rename(log.c_str(), (root.Path() + "/" + names.back()).c_str()), 0);
        kill(child, SIGHUP);
    }
    ASSERT_TRUE(WaitForFile(log));
    names.emplace_back("logs/Compressor.log");
    kill(child, SIGTERM);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    std::string all;
    for (const std::string& name : names) all += root.Read(name);
    ExpectAllLines(all, Writers);
    EXPECT_NE(all.find("****** APPLICATION SIGHUP\n"), std::string::npos);
}

}  // namespace
