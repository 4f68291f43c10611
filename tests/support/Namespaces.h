// Namespaces of its own for the calling process, which has one thread: what it does there to devices, files
// and networks nobody else sees. As root, or as somebody whom the system lets make user namespaces. Each is
// false, with errno set, where the system refuses it.
#pragma once

#include <string>

// A mount namespace with an empty /dev.
bool EnterOwnDev();

// A network namespace, in which no interface is up.
bool EnterOwnNetwork();

// A file system whose root is the folder `root`, with what a program needs of the system's own: the
// libraries, /proc, and the file `program` under its own name. Whoever made the folder goes on seeing into
// it.
bool EnterOwnRoot(const std::string& root, const std::string& program);

// What a child returns that was to enter one and could not.
constexpr int CannotEnter = 126;
