#include "Unicode.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace tq {

namespace {

// Bytes that are looked at together, by vector instructions where there are any.
using Block [[gnu::vector_size(16)]] = unsigned char;

// So many characters of three bytes fill three blocks.
constexpr std::size_t kBlocks = 3;
constexpr std::size_t kBlockBytes = kBlocks * sizeof(Block);

constexpr std::array<unsigned char, kBlockBytes> repeated(unsigned char lead, unsigned char other)
{
    std::array<unsigned char, kBlockBytes> bytes{};
    for (std::size_t index = 0; index < bytes.size(); ++index)
        bytes[index] = index % 3 == 0 ? lead : other;
    return bytes;
}

// Whether the blocks are full of characters of three bytes; it may say no to some.
bool areThreeBytesEach(const unsigned char* bytes)
{
    constexpr auto kMask = repeated(0xF0, 0xC0);
    constexpr auto kExpected = repeated(0xE0, 0x80);
    Block wrong{};
    for (std::size_t place = 0; place < kBlockBytes; place += sizeof(Block)) {
        Block block;
        Block mask;
        Block expected;
        std::memcpy(&block, bytes + place, sizeof(block));
        std::memcpy(&mask, kMask.data() + place, sizeof(mask));
        std::memcpy(&expected, kExpected.data() + place, sizeof(expected));
        // Where a lead is not expected these two are wrong already.
        wrong |= ((block & mask) ^ expected) | ((block == 0xE0) | (block == 0xED));
    }
    std::array<std::uint64_t, sizeof(Block) / sizeof(std::uint64_t)> words;
    std::memcpy(words.data(), &wrong, sizeof(wrong));
    return std::ranges::all_of(words, [](std::uint64_t word) { return word == 0; });
}

} // namespace

std::size_t sequenceLength(std::string_view text)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    auto continues = [&](std::size_t index) { return index < text.size() && (bytes[index] & 0xC0U) == 0x80U; };
    const unsigned lead = bytes[0];
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead <= 0xDF)
        return continues(1) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        if (!continues(1) || !continues(2))
            return 0;
        const bool isOverlong = lead == 0xE0 && bytes[1] < 0xA0;
        const bool isSurrogate = lead == 0xED && bytes[1] > 0x9F;
        return isOverlong || isSurrogate ? 0 : 3;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        if (!continues(1) || !continues(2) || !continues(3))
            return 0;
        const bool isOverlong = lead == 0xF0 && bytes[1] < 0x90;
        const bool isBeyondUnicode = lead == 0xF4 && bytes[1] > 0x8F;
        return isOverlong || isBeyondUnicode ? 0 : 4;
    }
    return 0;
}

bool isUTF8(std::string_view bytes)
{
    const auto* next = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t left = bytes.size();
    const auto take = [&](std::size_t length) {
        next += length;
        left -= length;
    };
    while (left) {
        // Most text is ASCII, or characters of three bytes: take many at a time.
        for (std::uint64_t word = 0; left >= sizeof(word);) {
            std::memcpy(&word, next, sizeof(word));
            if (!(word & 0x8080808080808080U)) {
                take(sizeof(word));
            } else if (areTwoOfThreeBytes(word)) {
                take(6);
                while (left >= kBlockBytes && areThreeBytesEach(next))
                    take(kBlockBytes);
            } else {
                break;
            }
        }
        if (!left)
            return true;
        const auto length = sequenceLength({ reinterpret_cast<const char*>(next), left });
        if (!length)
            return false;
        take(length);
    }
    return true;
}

char32_t takeCharacter(std::string_view& text)
{
    constexpr std::array<unsigned, 5> kLeadBits{ 0, 0x7F, 0x1F, 0x0F, 0x07 };
    constexpr char32_t kNone = 0xFFFD;
    const auto length = sequenceLength(text);
    char32_t character = length ? static_cast<unsigned char>(text[0]) & kLeadBits[length] : kNone;
    for (std::size_t index = 1; index < length; ++index)
        character = character << 6U | (static_cast<unsigned char>(text[index]) & 0x3FU);
    text.remove_prefix(std::max<std::size_t>(length, 1));
    return character;
}

char* writeCharacter(char* out, char32_t character)
{
    const auto put = [&](char32_t byte) { *out++ = static_cast<char>(byte); };
    if (character < 0x80) {
        put(character);
        return out;
    }
    if (character < 0x800) {
        put(0xC0U | character >> 6U);
    } else {
        if (character < 0x10000) {
            put(0xE0U | character >> 12U);
        } else {
            put(0xF0U | character >> 18U);
            put(0x80U | (character >> 12U & 0x3FU));
        }
        put(0x80U | (character >> 6U & 0x3FU));
    }
    put(0x80U | (character & 0x3FU));
    return out;
}

void appendCharacter(std::string& text, char32_t character)
{
    std::array<char, 4> bytes;
    text.append(bytes.data(), writeCharacter(bytes.data(), character));
}

} // namespace tq
