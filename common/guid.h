// Identifiers of 16 bytes, for the libraries that the process loads. They find these functions in the
// executable: by the plain names with dlsym, or linked as C++ functions of the signatures below.
//
// An identifier is laid out like a time-based UUID (RFC 4122, 4.1: version 1, variant 10), but its time
// fields hold Unix time: microseconds in bytes 0 to 3, seconds in bytes 4 to 7, each least significant byte
// first, below the version. Bytes 8 and 9 are the clock sequence, 10 to 15 the node. Any thread, but for
// GUIDSetMac.
#pragma once

// The 6 bytes at `mac` are the node of later identifiers that are built without one. Before other threads
// build any.
void GUIDSetMac(unsigned char* mac);

// Writes a new identifier to the 16 bytes at `guid` and returns `guid`. The node: the 6 bytes at `mac`; when
// that is null what GUIDSetMac was given; without that six random bytes, 0x80 set in the first.
unsigned char* BuildGUID(unsigned char* guid, unsigned char* mac);

// Writes the identifier as 36 lower-case characters and a zero to `s` and returns `s`.
char* GUIDToString(unsigned char* guid, char* s);

// Reads such text, with a double quote before it or without, in either case. Nothing is refused: an empty
// text is 16 zero bytes, and what is missing at the end of a short one reads as 0.
void GUIDFromString(unsigned char* guid, char* value);
