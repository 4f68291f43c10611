// Writes datagrams as a capture file that protocol dissectors read: IPv4 and UDP headers in front, no link
// layer.
#pragma once

#include <cstdio>
#include <memory>
#include <span>
#include <string>

#include "platform/kernel/SockAddr.h"

class PcapFile {
 public:
    explicit PcapFile(const std::string& path) : file(std::fopen(path.c_str(), "wb"), std::fclose) {
        constexpr ULONG RawIpv4 = 228;  // link type of a bare IPv4 packet
        const ULONG header[] = {0xA1B2C3D4, 0x00040002, 0, 0, 0xFFFF, RawIpv4};
        Write(header, sizeof header);
    }

    void Add(const SockAddr& from, const SockAddr& to, std::span<const UBYTE> payload) {
        const auto length = static_cast<ULONG>(payload.size() + HeaderBytes);
        const ULONG record[] = {++seconds, 0, length, length};
        Write(record, sizeof record);
        UBYTE header[HeaderBytes] = {0x45, 0xB8, Byte(length, 8), Byte(length, 0), 0, 0, 0, 0, 64, 17};
        Put(header + 12, from.Address(), 4);
        Put(header + 16, to.Address(), 4);
        Put(header + 10, Checksum(header), 2);
        Put(header + 20, from.Port(), 2);
        Put(header + 22, to.Port(), 2);
        Put(header + 24, length - 20, 2);
        Write(header, sizeof header);
        Write(payload.data(), payload.size());
    }
    void Close() { file.reset(); }

 private:
    static constexpr std::size_t HeaderBytes = 28;

    static UBYTE Byte(ULONG value, int shift) { return static_cast<UBYTE>(value >> shift); }
    static void Put(UBYTE* at, ULONG value, int bytes) {
        for (int i = 0; i < bytes; ++i) at[i] = Byte(value, 8 * (bytes - 1 - i));
    }
    static ULONG Checksum(const UBYTE* header) {
        ULONG sum = 0;
        for (int i = 0; i < 20; i += 2) sum += static_cast<ULONG>(header[i] << 8 | header[i + 1]);
        sum = (sum & 0xFFFF) + (sum >> 16);
        return ~(sum + (sum >> 16)) & 0xFFFF;
    }
    void Write(const void* bytes, std::size_t count) { std::fwrite(bytes, 1, count, file.get()); }

    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file;
    ULONG seconds = 0;
};
