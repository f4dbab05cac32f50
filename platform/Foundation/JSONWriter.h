#pragma once

#include <boost/json/value.hpp>
#include <cstddef>
#include <limits>
#include <string>
#include <string_view>

namespace tq {

/// Writes compact JSON as a page's `JSON.stringify` does, texts in large pieces: they may be megabytes.
class JSONWriter {
public:
    /// What becomes of a number that is not finite, which JSON cannot hold: the writing fails, as it does where
    /// containers lie deeper than 512, or null takes its place.
    enum class Unwritable : bool { Fails, IsNull };

    /// Has written nothing yet.
    explicit JSONWriter(Unwritable unwritable = Unwritable::Fails)
        : m_unwritable(unwritable)
    {
    }

    /// Appends a value. @param depth of the value: 1 at the top.
    /// @returns whether it could be written.
    bool write(const boost::json::value& value, std::size_t depth);
    /// Appends a text.
    void writeText(std::string_view characters);
    /// Whether all texts that were written are UTF-8.
    bool isValid() const;
    /// Stops soon after so many bytes: the rest is not wanted.
    void setMost(std::size_t most) { m_most = most; }

    /// Takes a text that is not needed any more: a large one lends its memory, up to 8 MiB, to the next that this
    /// thread writes.
    static void reuse(std::string&& text);

    /// What has been written.
    std::string text;

private:
    void writeNumber(const boost::json::value& value);
    bool writeList(const boost::json::array& list, std::size_t depth);
    bool writeMap(const boost::json::object& map, std::size_t depth);
    void writeEscape(unsigned char character);
    bool writeNonFinite();
    bool isTooDeep(std::size_t depth) const;
    bool isEnough() const { return text.size() > m_most; }
    void makeRoom(std::size_t size);
    std::size_t plainLength(std::string_view characters);

    Unwritable m_unwritable;
    std::size_t m_most = std::numeric_limits<std::size_t>::max();
    bool m_isAscii = true;
};

/// Appends a number as a page writes it: the shortest digits that read back the same, 3 for 3.0, 1e+21. It is finite.
void appendNumber(std::string& text, double number);

/// The compact JSON text of any value; numbers that are not finite are null.
/// @param most bytes, about; what comes after them is left out, and the text is no JSON then.
std::string writtenJSON(const boost::json::value& value, std::size_t most = std::numeric_limits<std::size_t>::max());

} // namespace tq
