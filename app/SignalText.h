// Messages from signal handlers: composed and written with nothing but what is async-signal-safe.
#pragma once

#include <initializer_list>

// What a %d or a %s of the format stands for.
struct SignalArgument {
    SignalArgument(int number) : number(number) {}    // NOLINT(google-explicit-constructor)
    SignalArgument(const char* text) : text(text) {}  // NOLINT(google-explicit-constructor)

    int number = 0;
    const char* text = nullptr;  // null for a number
};

// Writes the message to standard output in one piece, ending the line unless the message does; cut to 255
// bytes. `format` knows %d and %s alone. False when standard output is a pipe that nobody reads.
bool WriteSignalText(const char* format, std::initializer_list<SignalArgument> arguments);
