#pragma once

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

/// A RIFF file as text, byte for byte: a line for each chunk (file position, code, size; lists with their type, their
/// chunks indented), then the body in lines of 16 bytes. Lines of zeros only are told by their number.

inline uint32_t riff_u32(const std::vector<uint8_t>& bytes, size_t at) {
    uint32_t value = 0;
    if (at + 4 <= bytes.size()) memcpy(&value, &bytes[at], 4);
    return value;
}

inline std::string riff_code(const std::vector<uint8_t>& bytes, size_t at) {
    std::string code;
    for (size_t i = at; i < at + 4 && i < bytes.size(); ++i) code += isprint(bytes[i]) ? char(bytes[i]) : '?';
    return code;
}

inline void riff_dump_body(const std::vector<uint8_t>& bytes, size_t at, size_t end, int depth, std::string& out) {
    const std::string indent(size_t(depth) * 2 + 9, ' ');
    while (at < end) {
        size_t zeros = 0;
        while (at + zeros < end && bytes[at + zeros] == 0) ++zeros;
        if (zeros >= 16) {
            out += indent + "zeros " + std::to_string(zeros / 16) + " x 16\n";
            at += zeros / 16 * 16;
            continue;
        }
        out += indent.substr(1);
        for (const size_t line_end = std::min(at + 16, end); at < line_end; ++at) {
            char hex[4];
            snprintf(hex, sizeof(hex), " %02x", bytes[at]);
            out += hex;
        }
        out += "\n";
    }
}

inline void riff_dump(const std::vector<uint8_t>& bytes, size_t at, size_t end, int depth, std::string& out) {
    while (at + 8 <= end) {
        const std::string code = riff_code(bytes, at);
        const uint32_t size = riff_u32(bytes, at + 4);
        const bool list = code == "RIFF" || code == "LIST";
        char head[64];
        snprintf(head, sizeof(head), "%08zx %*s%s %u", at, depth * 2, "", code.c_str(), size);
        out += head + (list ? " " + riff_code(bytes, at + 8) : "") + "\n";
        const size_t body = at + 8, body_end = body + size < end ? body + size : end;
        if (list)
            riff_dump(bytes, body + 4, body_end, depth + 1, out);
        else
            riff_dump_body(bytes, body, body_end, depth + 1, out);
        if (body + size > end) out += "cut off\n";
        at = body + size;
        if (size & 1) {
            const bool padded = at < end && bytes[at] == 0;
            out += std::string(size_t(depth) * 2 + 9, ' ') + (padded ? "pad\n" : "pad missing\n");
            ++at;
        }
    }
    if (at < end) out += std::to_string(end - at) + " bytes too many\n";
}

inline std::string riff_dump(const std::vector<uint8_t>& bytes) {
    std::string out;
    riff_dump(bytes, 0, bytes.size(), 0, out);
    return out + "end " + std::to_string(bytes.size()) + "\n";
}
