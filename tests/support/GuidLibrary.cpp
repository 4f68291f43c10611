// A library as the process may load it: it links to the identifier functions by their signatures, and looks
// them up by their plain names. Loaded with KESTREL_TEST_GUID set, it says at once what it found.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

// As the library's own headers have them.
void GUIDSetMac(unsigned char* mac);
unsigned char* BuildGUID(unsigned char* guid, unsigned char* mac);
char* GUIDToString(unsigned char* guid, char* s);
void GUIDFromString(unsigned char* guid, char* value);

namespace {

template <class Function>
Function* Find(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_DEFAULT, name));
}

const char* LinkedFunctionsWork() {
    unsigned char mac[6] = {1, 2, 3, 4, 5, 6};
    unsigned char guid[16];
    unsigned char read[16];
    char text[40] = "\"";
    if (BuildGUID(guid, mac) != guid) return "BuildGUID returned something else";
    if (GUIDToString(guid, text + 1) != text + 1) return "GUIDToString returned something else";
    GUIDFromString(read, text);
    if (std::memcmp(guid, read, 16) != 0) return "the text did not read back";
    return std::memcmp(guid + 10, mac, 6) == 0 ? nullptr : "the node is not what was given";
}

const char* NamedFunctionsWork() {
    auto* build = Find<unsigned char*(unsigned char*, unsigned char*)>("BuildGUID");
    auto* toString = Find<char*(unsigned char*, char*)>("GUIDToString");
    auto* fromString = Find<void(unsigned char*, char*)>("GUIDFromString");
    auto* setMac = Find<void(unsigned char*)>("GUIDSetMac");
    if (build == nullptr || toString == nullptr || fromString == nullptr || setMac == nullptr) {
        return "a name is not there";
    }
    unsigned char mac[6] = {9, 8, 7, 6, 5, 4};
    unsigned char guid[16];
    unsigned char read[16];
    char text[37];
    setMac(mac);
    fromString(read, toString(build(guid, nullptr), text));
    if (std::memcmp(guid, read, 16) != 0) return "the text did not read back by name";
    // One state behind both names.
    return std::memcmp(BuildGUID(read, nullptr) + 10, mac, 6) == 0 ? nullptr
                                                                   : "the node set by name is unknown";
}

}  // namespace

// "" when everything works.
extern "C" const char* TestGuidLibrary() {
    const char* fault = LinkedFunctionsWork();
    if (fault == nullptr) fault = NamedFunctionsWork();
    return fault != nullptr ? fault : "";
}

[[gnu::constructor]] static void SayAtOnce() {
    if (std::getenv("KESTREL_TEST_GUID") == nullptr) return;
    printf("Identifiers in the library: \"%s\"\n", TestGuidLibrary());
    fflush(stdout);
}
