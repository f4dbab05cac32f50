#include "ImageSize.h"

namespace tq {

namespace {

// Numbers of so many bytes; the caller has checked that they are there.
std::uint32_t bigEndian(std::string_view bytes, std::size_t offset, std::size_t count)
{
    std::uint32_t number = 0;
    for (const char byte : bytes.substr(offset, count))
        number = number << 8U | static_cast<std::uint8_t>(byte);
    return number;
}

std::uint32_t littleEndian(std::string_view bytes, std::size_t offset, std::size_t count)
{
    std::uint32_t number = 0;
    while (count-- > 0)
        number = number << 8U | static_cast<std::uint8_t>(bytes[offset + count]);
    return number;
}

std::optional<ImageSize> sizeOfPNG(std::string_view bytes)
{
    if (bytes.size() < 24 || bytes.substr(12, 4) != "IHDR")
        return std::nullopt;
    return ImageSize{ ImageFormat::PNG, bigEndian(bytes, 16, 4), bigEndian(bytes, 20, 4), bytes.size() };
}

// Frame headers are the markers C0 to CF, but for three that mean tables.
bool isFrameHeader(std::uint32_t marker)
{
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

std::optional<ImageSize> sizeOfJPEG(std::string_view bytes)
{
    std::size_t offset = 2;
    while (offset + 9 <= bytes.size() && bytes[offset] == '\xFF') {
        const auto marker = bigEndian(bytes, offset + 1, 1);
        if (marker == 0xFF) {
            ++offset;
            continue;
        }
        if (isFrameHeader(marker))
            return ImageSize{ ImageFormat::JPEG, bigEndian(bytes, offset + 7, 2), bigEndian(bytes, offset + 5, 2),
                bytes.size() };
        // Markers without a length do not stand before the frame in any usual file.
        const auto length = bigEndian(bytes, offset + 2, 2);
        if (marker < 0xC0 || (marker >= 0xD0 && marker <= 0xD9) || length < 2)
            return std::nullopt;
        offset += 2 + length;
    }
    return std::nullopt;
}

std::size_t sizeOfColours(char flags) { return flags & 0x80 ? std::size_t{ 6 } << (flags & 7) : 0; }

// Where the blocks of data end that begin there, each with its length before it; the end of the file may come first.
std::size_t endOfBlocks(std::string_view bytes, std::size_t at)
{
    while (at < bytes.size() && bytes[at])
        at += 1 + static_cast<std::uint8_t>(bytes[at]);
    return at < bytes.size() ? at + 1 : bytes.size();
}

std::optional<ImageSize> sizeOfGIF(std::string_view bytes)
{
    constexpr std::size_t kHead = 13;
    constexpr std::size_t kPictureHead = 11;
    if (bytes.size() < kHead)
        return std::nullopt;
    ImageSize size{ ImageFormat::GIF, littleEndian(bytes, 6, 2), littleEndian(bytes, 8, 2), bytes.size() };
    auto at = kHead + sizeOfColours(bytes[10]);
    while (at < bytes.size() && bytes[at] == '!')
        at = endOfBlocks(bytes, at + 2);
    if (at + kPictureHead > bytes.size() || bytes[at] != ',')
        return std::nullopt;
    const auto width = littleEndian(bytes, at + 5, 2);
    const auto height = littleEndian(bytes, at + 7, 2);
    if (!width || !height || littleEndian(bytes, at + 1, 2) + width > size.width
        || littleEndian(bytes, at + 3, 2) + height > size.height)
        return std::nullopt;
    size.end = endOfBlocks(bytes, at + kPictureHead + sizeOfColours(bytes[at + 9]));
    return size;
}

std::optional<ImageSize> sizeOfBMP(std::string_view bytes)
{
    constexpr std::uint32_t kOldHead = 12;
    constexpr std::uint32_t kLargestHead = 124;
    if (bytes.size() < 26)
        return std::nullopt;
    // Room is made for what stands before the pixels as soon as its length is known.
    const auto head = littleEndian(bytes, 14, 4);
    if (head > kLargestHead || littleEndian(bytes, 10, 4) > bytes.size())
        return std::nullopt;
    if (head == kOldHead) {
        const auto width = littleEndian(bytes, 18, 2);
        const auto height = littleEndian(bytes, 20, 2);
        // Some take larger ones for numbers below zero.
        constexpr std::uint32_t kLargest = 0x7FFF;
        if (width > kLargest || height > kLargest)
            return std::nullopt;
        return ImageSize{ ImageFormat::BMP, width, height, bytes.size() };
    }
    // A height below zero is that of a picture that is written from the top.
    const auto height = littleEndian(bytes, 22, 4);
    return ImageSize{ ImageFormat::BMP, littleEndian(bytes, 18, 4), height >> 31U ? 0U - height : height,
        bytes.size() };
}

// The numbers of a TIFF file's first directory that tell how much memory it takes.
class TiffDirectory {
public:
    explicit TiffDirectory(std::string_view bytes)
        : m_bytes(bytes)
        , m_isBigEndian(bytes[0] == 'M')
    {
    }

    /// False for a directory that is not there.
    bool read()
    {
        const std::size_t start = number(4, 4);
        if (start < 8 || start > m_bytes.size() - 2)
            return false;
        const std::size_t count = number(start, 2);
        if (count > (m_bytes.size() - start - 2) / kEntry)
            return false;
        for (std::size_t i = count; i > 0; --i)
            readEntry(start + 2 + (i - 1) * kEntry); // of two the first counts
        return true;
    }

    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t bits = 1;
    std::uint32_t samples = 1;
    std::uint32_t tileWidth = 0;
    std::uint32_t tileHeight = 0;

private:
    static constexpr std::size_t kEntry = 12;
    static constexpr std::uint32_t kShort = 3;
    static constexpr std::uint32_t kLong = 4;
    static constexpr std::uint32_t kUnknown = 0xFFFFFFFF;

    std::uint32_t number(std::size_t offset, std::size_t count) const
    {
        return m_isBigEndian ? bigEndian(m_bytes, offset, count) : littleEndian(m_bytes, offset, count);
    }
    void readEntry(std::size_t at)
    {
        const struct {
            std::uint32_t tag;
            std::uint32_t TiffDirectory::*member;
        } rows[] = { { 256, &TiffDirectory::width }, { 257, &TiffDirectory::height }, { 258, &TiffDirectory::bits },
            { 277, &TiffDirectory::samples }, { 322, &TiffDirectory::tileWidth }, { 323, &TiffDirectory::tileHeight } };
        for (const auto& row : rows) {
            if (row.tag == number(at, 2))
                this->*row.member = firstNumber(at);
        }
    }
    std::uint32_t firstNumber(std::size_t at) const
    {
        const auto type = number(at + 2, 2);
        const std::size_t length = type == kShort ? 2 : 4;
        const auto count = number(at + 4, 4);
        if ((type != kShort && type != kLong) || !count)
            return kUnknown;
        // What does not fit the entry is elsewhere.
        const std::size_t offset = count > 4 / length ? number(at + 8, 4) : at + 8;
        return offset <= m_bytes.size() - length ? number(offset, length) : kUnknown;
    }

    std::string_view m_bytes;
    bool m_isBigEndian;
};

std::optional<ImageSize> sizeOfTIFF(std::string_view bytes)
{
    constexpr std::uint32_t kMostSamples = 4;
    constexpr std::uint32_t kMostBits = 16;
    constexpr std::uint32_t kLargestTile = 4096;
    TiffDirectory directory(bytes);
    if (bytes.size() < 10 || !directory.read() || directory.samples > kMostSamples || directory.bits > kMostBits
        || directory.tileWidth > kLargestTile || directory.tileHeight > kLargestTile)
        return std::nullopt;
    return ImageSize{ ImageFormat::TIFF, directory.width, directory.height, bytes.size() };
}

} // namespace

std::optional<ImageSize> encodedImageSize(std::string_view bytes)
{
    using namespace std::string_view_literals;
    if (bytes.starts_with("\x89PNG\r\n\x1A\n"sv))
        return sizeOfPNG(bytes);
    if (bytes.starts_with("\xFF\xD8\xFF"sv))
        return sizeOfJPEG(bytes);
    if (bytes.starts_with("GIF87a"sv) || bytes.starts_with("GIF89a"sv))
        return sizeOfGIF(bytes);
    if (bytes.starts_with("BM"sv))
        return sizeOfBMP(bytes);
    if (bytes.starts_with("II*\0"sv) || bytes.starts_with("MM\0*"sv))
        return sizeOfTIFF(bytes);
    return std::nullopt;
}

std::optional<ImageSize> decodableImageSize(std::string_view bytes)
{
    constexpr std::uint64_t kMaxPixels = 64'000'000;
    const auto size = encodedImageSize(bytes);
    const bool isDecodable
        = size && size->width && size->height && std::uint64_t{ size->width } * size->height <= kMaxPixels;
    return isDecodable ? size : std::nullopt;
}

} // namespace tq
