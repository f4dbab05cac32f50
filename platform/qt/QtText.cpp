#include "QtText.h"

#include "../Foundation/Unicode.h"

#include <QStringDecoder>
#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

namespace tq {

namespace {

constexpr std::size_t kKept = std::size_t{ 8 } << 20U;
constexpr qsizetype kMostUnitsKept = qsizetype{ 8 } << 20U;
constexpr std::ptrdiff_t kBlock = 32;
// Of one unit of UTF-16.
constexpr std::size_t kMostBytes = 3;

struct Spare {
    std::unique_ptr<char[]> bytes;
    std::size_t capacity = 0;
};

Spare& spare()
{
    static auto& s_spare = *new Spare;
    return s_spare;
}

// Loops over blocks have no other exit and write to nowhere else, so that compilers make them of wide instructions.
template <class Unit> bool isAscii(const Unit* block)
{
    unsigned bits = 0;
    for (std::ptrdiff_t i = 0; i < kBlock; ++i)
        bits |= block[i];
    return bits < 0x80;
}

template <class To, class From> To* copyAscii(const From* block, To* out)
{
    std::array<To, kBlock> copied;
    for (std::size_t i = 0; i < kBlock; ++i)
        copied[i] = static_cast<To>(block[i]);
    return std::ranges::copy(copied, out).out;
}

// Half of a pair that stands alone becomes U+FFFD.
char32_t takeCharacter(const char16_t*& unit, const char16_t* end)
{
    const char32_t first = *unit++;
    if (first < 0xD800 || first > 0xDFFF)
        return first;
    if (first > 0xDBFF || unit == end || *unit < 0xDC00 || *unit > 0xDFFF)
        return 0xFFFD;
    return 0x10000 + ((first - 0xD800) << 10U) + (*unit++ - 0xDC00U);
}

// Most letters of most scripts of Asia are of this kind, and many of them come in a row. It may say no to some.
bool isOfThreeBytes(const char16_t* block)
{
    if constexpr (std::endian::native != std::endian::little)
        return false;
    unsigned others = 0;
    for (std::ptrdiff_t i = 0; i < kBlock; ++i)
        others |= static_cast<unsigned>(static_cast<char16_t>(block[i] - 0x800U) >= 0xD000U);
    return !others;
}

// Each is written as four bytes, and its last one over by the next.
char* writeThreeBytes(const char16_t* block, char* out)
{
    std::array<std::uint32_t, kBlock> words;
    for (std::size_t i = 0; i < kBlock; ++i) {
        const std::uint32_t unit = block[i];
        words[i] = 0x8080E0U | (unit >> 12U) | (unit & 0xFC0U) << 2U | (unit & 0x3FU) << 16U;
    }
    for (const auto word : words) {
        std::memcpy(out, &word, sizeof(word));
        out += kMostBytes;
    }
    return out;
}

// The toolkit's own conversion takes several times as long for Chinese, and copies once more.
char* writeUTF8(const char16_t* unit, const char16_t* end, char* out)
{
    while (unit < end) {
        if (end - unit >= kBlock && isAscii(unit)) {
            out = copyAscii(unit, out);
            unit += kBlock;
        } else if (end - unit >= kBlock && isOfThreeBytes(unit)) {
            out = writeThreeBytes(unit, out);
            unit += kBlock;
        } else {
            for (const auto* blockEnd = unit + std::min(kBlock, end - unit); unit < blockEnd;)
                out = writeCharacter(out, takeCharacter(unit, end));
        }
    }
    return out;
}

bool isContinuation(unsigned byte) { return (byte & 0xC0U) == 0x80; }

// The character that begins there, of those that take three bytes; 0 for any other.
unsigned threeByteCharacter(const unsigned char* byte)
{
    const unsigned character = ((byte[0] & 0xFU) << 12U) | ((byte[1] & 0x3FU) << 6U) | (byte[2] & 0x3FU);
    const bool isOne = (byte[0] & 0xF0U) == 0xE0 && isContinuation(byte[1]) && isContinuation(byte[2]);
    return isOne && character >= 0x800 && (character < 0xD800 || character > 0xDFFF) ? character : 0;
}

// Takes characters of three bytes: as many pairs as there are, then one.
char16_t* takeThreeBytes(const unsigned char*& byte, const unsigned char* end, char16_t* out)
{
    const auto unitOf
        = [](std::uint64_t word) { return (word & 0xFU) << 12U | (word >> 2U & 0xFC0U) | (word >> 16U & 0x3FU); };
    for (std::uint64_t word = 0; end - byte >= std::ptrdiff_t(sizeof(word)); byte += 2 * kMostBytes) {
        std::memcpy(&word, byte, sizeof(word));
        if (!areTwoOfThreeBytes(word))
            break;
        const auto units = static_cast<std::uint32_t>(unitOf(word) | unitOf(word >> 24U) << 16U);
        std::memcpy(out, &units, sizeof(units));
        out += 2;
    }
    if (const auto character = end - byte >= std::ptrdiff_t(kMostBytes) ? threeByteCharacter(byte) : 0) {
        *out++ = static_cast<char16_t>(character);
        byte += kMostBytes;
    }
    return out;
}

// What is neither ASCII nor of three bytes is for the toolkit.
char16_t* writeUTF16(const unsigned char* byte, const unsigned char* end, char16_t* out)
{
    while (byte < end) {
        if (end - byte >= kBlock && isAscii(byte)) {
            out = copyAscii(byte, out);
            byte += kBlock;
            continue;
        }
        const auto* begin = byte;
        out = takeThreeBytes(byte, end, out);
        for (; byte < end && *byte < 0x80 && byte - begin < kBlock; ++byte)
            *out++ = *byte;
        if (byte != begin)
            continue;
        do
            ++byte;
        while (byte < end && isContinuation(*byte));
        auto* units = reinterpret_cast<QChar*>(out);
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        out += decoder.appendToBuffer(units, QByteArrayView(begin, byte - begin)) - units;
    }
    return out;
}

} // namespace

QtText::QtText(const QString& text)
{
    auto& kept = spare();
    const auto units = static_cast<std::size_t>(text.size());
    m_bytes = std::move(kept.bytes);
    m_capacity = std::exchange(kept.capacity, 0);
    // One more, over which the last word is written.
    if (const auto needed = units * kMostBytes + 1; m_capacity < needed) {
        m_capacity = needed;
        m_bytes.reset();
        m_bytes = std::make_unique_for_overwrite<char[]>(m_capacity);
    }
    const auto* begin = reinterpret_cast<const char16_t*>(text.utf16());
    m_size = static_cast<std::size_t>(writeUTF8(begin, begin + units, m_bytes.get()) - m_bytes.get());
}

// What no text has filled takes no memory.
QtText::~QtText()
{
    auto& kept = spare();
    if (m_size > kKept || m_capacity < kept.capacity)
        return;
    kept.bytes = std::move(m_bytes);
    kept.capacity = m_capacity;
}

QString answerOf(std::string_view before, std::string_view text)
{
    // The engine has read the one before by now.
    static auto& s_last = *new QString;
    if (s_last.capacity() > kMostUnitsKept)
        s_last = QString();
    s_last.resize(qsizetype(before.size()) + qsizetype(text.size()));
    auto* begin = reinterpret_cast<char16_t*>(s_last.data());
    auto* end = begin;
    for (const auto part : { before, text }) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(part.data());
        end = writeUTF16(bytes, bytes + part.size(), end);
    }
    s_last.resize(end - begin);
    return s_last;
}

} // namespace tq
