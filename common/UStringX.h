// The string type of the whole system: growable narrow text, taken as UTF-8, with a wide copy (one wchar_t a
// code point) that is built when it is asked for.
//
// A string without storage reads as the empty text. Storage grows in steps (LengthRound) and never shrinks.
// An argument may point into the string's own text. No lock: asking for the wide form changes the object.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <memory>

#include "platform/kernel/OSListObj.h"

class UString : public OSListObj {
 public:
    UString() = default;
    UString(const UString& other);
    // A null text gives an empty string without storage.
    UString(const char* text);           // NOLINT(google-explicit-constructor)
    UString(const unsigned char* text);  // NOLINT(google-explicit-constructor)
    UString(const wchar_t* text);        // NOLINT(google-explicit-constructor)
    ~UString() override = default;

    // A null text, or a source without storage, empties the text and keeps the storage.
    UString& operator=(const UString& other);
    UString& operator=(const char* text);
    UString& operator=(const unsigned char* text);
    UString& operator=(const wchar_t* text);

    // The text; never null. Valid until the text next changes.
    operator char*() const;  // NOLINT(google-explicit-constructor)
    // The wide copy, rebuilt when the text has changed since; never null. Valid until the text next changes.
    // Ill-formed text ends in front of its first fault.
    operator wchar_t*();  // NOLINT(google-explicit-constructor)
    // The byte at `index`, from 0 to the length.
    char operator[](int index) const { return buffer == nullptr ? '\0' : buffer[index]; }
    int GetLength() const;
    bool IsEmpty() const { return buffer == nullptr || buffer[0] == '\0'; }
    bool StartsWith(const char* prefix) const;
    // Points into the text at `index`; the empty text from its end on.
    char* Mid(int index) const;

    UString& operator+=(const UString& other);
    UString& operator+=(const char* text);
    UString& operator+=(char byte);
    // Appends the letters of `text` alone.
    void AddStripped(const char* text);

    // Replaces the text as printf does; the formatted length. An arguments' failure leaves the text empty and
    // answers 0.
    [[gnu::format(printf, 2, 3)]] int Format(const char* format, ...);
    int vFormat(const char* format, va_list args);
    // Reads one line, without its line feed; longer lines are read in pieces. False, and the text left as it
    // was, at the end of file; false and the text empty after a read error.
    bool fgets(FILE* stream);

    // Each of these four replaces the text by an escaped copy of `text`.
    // ( ) * \ become a backslash and two hexadecimal digits, as RFC 4515 has them.
    UString& SlashHex(const char* text);
    // The same, with * kept as a wildcard.
    UString& SlashHex2(const char* text);
    // A backslash in front of ' " and backslash.
    UString& EscapeMySQL(const char* text);
    // A backslash in front of all but letters and digits.
    UString& EscapeShell(const char* text);
    // Appends `text` with space, % and & as %20, %25 and %26.
    void AppendSafe(const char* text);
    // The same, with & kept.
    void AppendSafe2(const char* text);
    // Sets `out` to the text encoded as by AppendSafe.
    UString& URLEncode(UString& out) const;

    // Replaces the first `find`; false, and nothing changed, when there is none or `find` is empty.
    bool Replace(const char* find, const char* repl);
    // Replaces every `find`, also those that a replacement makes together with its surroundings, but none
    // within what it has put in when `repl` contains `find`. True when it replaced any.
    bool ReplaceAll(const char* find, const char* repl);
    void StripNonNumeric();
    // Removes spaces, tabs, carriage returns and line feeds from both ends.
    void Trim();

    // Makes room for `length` characters, keeping the text.
    void Allocate(int length);
    void SetLength(int length) { Allocate(length); }
    // Makes room for `length` wide characters, keeping the wide copy.
    void wAllocate(int length);
    // Gives the narrow storage back.
    void Free();
    // Gives all storage back.
    void Init();
    // Has the wide copy rebuilt when it is next asked for.
    void Dirty() { dirty = true; }

    // Units of storage for `length` characters and their terminator.
    static int LengthRound(int length);
    // Bytes of narrow storage.
    int Capacity() const { return buffer_size; }

 private:
    void Assign(const char* text, int length);
    void AssignWide(const wchar_t* text);
    void Append(const char* text, int length);
    bool ReplaceFrom(int& at, const char* find, const char* repl);

    std::unique_ptr<char[]> buffer;  // null until the first operation that needs storage
    int buffer_size = 0;
    std::unique_ptr<wchar_t[]> wbuffer;  // null until first asked for
    int wbuffer_size = 0;
    bool dirty = true;
};

UString operator+(const UString& left, const char* right);
UString operator+(const char* left, const UString& right);
UString operator+(const UString& left, const UString& right);

// Bytes are compared as strcmp does. The overloads for char* keep the conversions to it out of the choice.
bool operator==(const UString& left, const UString& right);
bool operator==(const UString& left, const char* right);
bool operator==(const char* left, const UString& right);
bool operator==(const UString& left, char* right);
bool operator==(char* left, const UString& right);
bool operator!=(const UString& left, const UString& right);
bool operator!=(const UString& left, const char* right);
bool operator!=(const char* left, const UString& right);
bool operator!=(const UString& left, char* right);
bool operator!=(char* left, const UString& right);
bool operator<(const UString& left, const UString& right);
bool operator<(const UString& left, const char* right);
bool operator<(const char* left, const UString& right);
bool operator>(const UString& left, const UString& right);
bool operator>(const UString& left, const char* right);
bool operator>(const char* left, const UString& right);
bool operator<=(const UString& left, const UString& right);
bool operator<=(const UString& left, const char* right);
