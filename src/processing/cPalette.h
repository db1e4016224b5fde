// cPalette: a list of up to 256 colours that pictures can be mapped to, read
// from and written to palette files. Plain C++ (no Qt), so that the pixel
// code and hosts can both use it.
//
// Files are recognised by what they hold, never by their extension:
//   - JASC-PAL text: "JASC-PAL", "0100", the number of colours, then one line
//     "R G B" per colour;
//   - GIMP palettes: "GIMP Palette", optional "Name:" and "Columns:" lines,
//     '#' comments and blank lines, then one line "R G B [name]" per colour;
//   - RIFF palettes: a "RIFF" file of form "PAL " whose "data" chunk holds a
//     version, a count and four bytes (R, G, B, flags) per colour;
//   - Photoshop colour tables: exactly 768 bytes (256 R, G, B triples), or
//     772 bytes whose last four give the number of colours used and the
//     transparent index, both 16-bit big-endian.
// Text may use LF or CRLF line ends and may start with a UTF-8 byte order
// mark. Every channel must be a whole number 0..255, and a file must hold 1 to
// 256 colours; anything else is malformed and is refused whole. Files larger
// than 1 MiB are refused unread (no palette is that large).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qorv {

class cPalette {
 public:
  static constexpr int MaxColors = 256;

  // Why the last LoadFromFile failed (Ok after a success).
  enum class LoadStatus {
    Ok = 0,
    Unreadable,     // missing, not a regular file, cannot be opened or read, or larger than 1 MiB
    UnknownFormat,  // readable, but none of the formats above (an empty file too)
    Malformed,      // one of the formats above, but truncated or with values out of range
  };

  // The palettes the library carries, by number.
  enum class BuiltIn {
    WebSafe = 0,        // 216 colours: every channel one of 0, 51, 102, ... 255; red slowest, blue fastest
    Ega = 1,            // the 16 colours of the EGA/VGA text palette, in its order
    Greys = 2,          // 256 greys, black to white
    BlackAndWhite = 3,  // black, white
  };
  static constexpr int BuiltInCount = 4;

  // An empty palette.
  cPalette() = default;
  // A built-in palette; an empty one for a number outside 0..BuiltInCount-1.
  static cPalette FromBuiltIn(int which);
  static cPalette FromBuiltIn(BuiltIn which) { return FromBuiltIn(static_cast<int>(which)); }

  // Reads a palette file (path in the file system's own encoding). On success
  // the palette holds the file's colours, in file order. On failure it stays
  // as it was and LastLoadStatus() says why.
  bool LoadFromFile(const std::string& path);
  LoadStatus LastLoadStatus() const { return status_; }
  // Parses palette file contents already in memory, with the same rules.
  bool LoadFromBytes(const std::string& bytes);

  // Writes the palette as JASC-PAL text with CRLF line ends. False when the
  // palette is empty or the file cannot be written.
  bool SaveToFile(const std::string& path) const;

  int Count() const { return static_cast<int>(colours_.size()); }
  // Colour i as a colour reference 0x00BBGGRR; 0 for an index outside 0..Count()-1.
  std::uint32_t Color(int i) const;
  // Appends a colour; false (and unchanged) when the palette is full.
  bool AddColor(std::uint8_t r, std::uint8_t g, std::uint8_t b);
  void Clear() { colours_.clear(); }

  // The index of the colour nearest to (r, g, b) by squared distance in RGB,
  // the lowest such index on a tie; -1 when the palette is empty.
  int ClosestIndex(std::uint8_t r, std::uint8_t g, std::uint8_t b) const;

  bool operator==(const cPalette& o) const { return colours_ == o.colours_; }

 private:
  struct Rgb {
    std::uint8_t r, g, b;
    bool operator==(const Rgb&) const = default;
  };
  std::vector<Rgb> colours_;
  LoadStatus status_ = LoadStatus::Ok;
};

}  // namespace qorv
