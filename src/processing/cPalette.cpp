// Palette files in and out, the built-in palettes and the exact nearest colour.
#include "processing/cPalette.h"

#include <charconv>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>
#include <system_error>

namespace qorv {

namespace {

constexpr std::uintmax_t kMaxFileBytes = 1u << 20;

using Status = cPalette::LoadStatus;

bool startsWith(std::string_view s, std::string_view prefix) { return s.substr(0, prefix.size()) == prefix; }

// Lines of a text file without their line ends (LF or CRLF).
std::vector<std::string_view> lines(std::string_view text) {
  std::vector<std::string_view> out;
  while (!text.empty()) {
    const std::size_t nl = text.find('\n');
    std::string_view line = text.substr(0, nl);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    out.push_back(line);
    if (nl == std::string_view::npos) break;
    text.remove_prefix(nl + 1);
  }
  return out;
}

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; }

std::string_view trimmed(std::string_view s) {
  while (!s.empty() && isSpace(s.front())) s.remove_prefix(1);
  while (!s.empty() && isSpace(s.back())) s.remove_suffix(1);
  return s;
}

// The next whitespace-separated word of `s`, removed from it.
std::string_view nextWord(std::string_view& s) {
  s = trimmed(s);
  std::size_t n = 0;
  while (n < s.size() && !isSpace(s[n])) ++n;
  const std::string_view w = s.substr(0, n);
  s.remove_prefix(n);
  return w;
}

// A whole decimal number, nothing else in the word.
std::optional<long> number(std::string_view word) {
  long v = 0;
  if (word.empty()) return std::nullopt;
  const auto [end, ec] = std::from_chars(word.data(), word.data() + word.size(), v);
  if (ec != std::errc() || end != word.data() + word.size()) return std::nullopt;
  return v;
}

std::optional<std::uint8_t> channel(std::string_view word) {
  const auto v = number(word);
  if (!v || *v < 0 || *v > 255) return std::nullopt;
  return static_cast<std::uint8_t>(*v);
}

struct Parsed {
  Status status = Status::Ok;
  std::vector<std::uint8_t> rgb;  // three bytes per colour
};

Parsed malformed() { return {Status::Malformed, {}}; }

// "R G B" at the start of a line; with `rest` false nothing may follow.
bool readTriple(std::string_view line, bool rest, std::vector<std::uint8_t>& rgb) {
  std::uint8_t c[3];
  for (std::uint8_t& v : c) {
    const auto ch = channel(nextWord(line));
    if (!ch) return false;
    v = *ch;
  }
  if (!rest && !trimmed(line).empty()) return false;
  rgb.insert(rgb.end(), c, c + 3);
  return true;
}

Parsed parseJasc(std::string_view text) {
  const std::vector<std::string_view> ls = lines(text);
  if (ls.size() < 3 || trimmed(ls[0]) != "JASC-PAL" || trimmed(ls[1]) != "0100") return malformed();
  const auto count = number(trimmed(ls[2]));
  if (!count || *count < 1 || *count > cPalette::MaxColors) return malformed();
  if (ls.size() < 3 + static_cast<std::size_t>(*count)) return malformed();
  Parsed p;
  for (long i = 0; i < *count; ++i) {
    if (!readTriple(ls[3 + static_cast<std::size_t>(i)], false, p.rgb)) return malformed();
  }
  // Whatever follows the declared colours is not part of the palette.
  return p;
}

Parsed parseGimp(std::string_view text) {
  const std::vector<std::string_view> ls = lines(text);
  Parsed p;
  for (std::size_t i = 1; i < ls.size(); ++i) {
    const std::string_view line = trimmed(ls[i]);
    if (line.empty() || line.front() == '#' || startsWith(line, "Name:") || startsWith(line, "Columns:")) continue;
    if (p.rgb.size() / 3 >= static_cast<std::size_t>(cPalette::MaxColors)) return malformed();
    // A colour may be followed by its name.
    if (!readTriple(line, true, p.rgb)) return malformed();
  }
  if (p.rgb.empty()) return malformed();
  return p;
}

std::uint32_t le32(std::string_view b, std::size_t at) {
  return static_cast<std::uint32_t>(static_cast<unsigned char>(b[at])) |
         static_cast<std::uint32_t>(static_cast<unsigned char>(b[at + 1])) << 8 |
         static_cast<std::uint32_t>(static_cast<unsigned char>(b[at + 2])) << 16 |
         static_cast<std::uint32_t>(static_cast<unsigned char>(b[at + 3])) << 24;
}
std::uint32_t le16(std::string_view b, std::size_t at) {
  return static_cast<std::uint32_t>(static_cast<unsigned char>(b[at])) |
         static_cast<std::uint32_t>(static_cast<unsigned char>(b[at + 1])) << 8;
}
std::uint32_t be16(std::string_view b, std::size_t at) {
  return static_cast<std::uint32_t>(static_cast<unsigned char>(b[at])) << 8 |
         static_cast<std::uint32_t>(static_cast<unsigned char>(b[at + 1]));
}

Parsed parseRiff(std::string_view b) {
  // Chunks follow the 12-byte header, each an id, a little-endian size and
  // its data padded to an even length.
  std::size_t at = 12;
  while (at + 8 <= b.size()) {
    const std::string_view id = b.substr(at, 4);
    const std::uint64_t size = le32(b, at + 4);
    const std::size_t data = at + 8;
    if (size > b.size() - data) return malformed();
    if (id == "data") {
      if (size < 4) return malformed();
      const std::uint32_t count = le16(b, data + 2);
      if (count < 1 || count > static_cast<std::uint32_t>(cPalette::MaxColors) || 4 + 4 * std::uint64_t{count} > size)
        return malformed();
      Parsed p;
      for (std::uint32_t i = 0; i < count; ++i) {
        const std::size_t e = data + 4 + 4 * static_cast<std::size_t>(i);
        p.rgb.insert(p.rgb.end(), b.begin() + static_cast<std::ptrdiff_t>(e),
                     b.begin() + static_cast<std::ptrdiff_t>(e + 3));
      }
      return p;
    }
    at = data + static_cast<std::size_t>(size) + (size & 1);
  }
  return malformed();
}

Parsed parseAct(std::string_view b) {
  std::size_t count = 256;
  if (b.size() == 772) {
    count = be16(b, 768);
    if (count < 1 || count > 256) return malformed();
  }
  Parsed p;
  p.rgb.assign(b.begin(), b.begin() + static_cast<std::ptrdiff_t>(3 * count));
  return p;
}

Parsed parse(std::string_view bytes) {
  std::string_view text = bytes;
  if (startsWith(text, "\xEF\xBB\xBF")) text.remove_prefix(3);
  if (bytes.size() >= 12 && startsWith(bytes, "RIFF") && bytes.substr(8, 4) == "PAL ") return parseRiff(bytes);
  if (startsWith(text, "JASC-PAL")) return parseJasc(text);
  if (startsWith(text, "GIMP Palette")) return parseGimp(text);
  if (bytes.size() == 768 || bytes.size() == 772) return parseAct(bytes);
  return {Status::UnknownFormat, {}};
}

}  // namespace

cPalette cPalette::FromBuiltIn(int which) {
  static const std::uint8_t ega[16][3] = {
      {0, 0, 0},      {0, 0, 170},     {0, 170, 0},     {0, 170, 170},  {170, 0, 0},    {170, 0, 170},
      {170, 85, 0},   {170, 170, 170}, {85, 85, 85},    {85, 85, 255},  {85, 255, 85},  {85, 255, 255},
      {255, 85, 85},  {255, 85, 255},  {255, 255, 85},  {255, 255, 255}};
  cPalette p;
  switch (which) {
    case static_cast<int>(BuiltIn::WebSafe):
      for (int r = 0; r < 6; ++r)
        for (int g = 0; g < 6; ++g)
          for (int b = 0; b < 6; ++b)
            p.AddColor(static_cast<std::uint8_t>(51 * r), static_cast<std::uint8_t>(51 * g),
                       static_cast<std::uint8_t>(51 * b));
      break;
    case static_cast<int>(BuiltIn::Ega):
      for (const auto& c : ega) p.AddColor(c[0], c[1], c[2]);
      break;
    case static_cast<int>(BuiltIn::Greys):
      for (int v = 0; v < 256; ++v)
        p.AddColor(static_cast<std::uint8_t>(v), static_cast<std::uint8_t>(v), static_cast<std::uint8_t>(v));
      break;
    case static_cast<int>(BuiltIn::BlackAndWhite):
      p.AddColor(0, 0, 0);
      p.AddColor(255, 255, 255);
      break;
    default:
      break;
  }
  return p;
}

bool cPalette::LoadFromBytes(const std::string& bytes) {
  const Parsed p = parse(bytes);
  status_ = p.status;
  if (p.status != Status::Ok) return false;
  colours_.clear();
  for (std::size_t i = 0; i + 2 < p.rgb.size(); i += 3) colours_.push_back({p.rgb[i], p.rgb[i + 1], p.rgb[i + 2]});
  return true;
}

bool cPalette::LoadFromFile(const std::string& path) {
  namespace fs = std::filesystem;
  std::error_code ec;
  // Only regular files: a directory cannot be read, a pipe or a device could block.
  if (path.empty() || !fs::is_regular_file(fs::path(path), ec) || ec) {
    status_ = Status::Unreadable;
    return false;
  }
  const std::uintmax_t size = fs::file_size(fs::path(path), ec);
  if (ec || size > kMaxFileBytes) {
    status_ = Status::Unreadable;
    return false;
  }
  std::ifstream in(path, std::ios::binary);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  if (!in || !in.read(bytes.data(), static_cast<std::streamsize>(size))) {
    status_ = Status::Unreadable;
    return false;
  }
  return LoadFromBytes(bytes);
}

bool cPalette::SaveToFile(const std::string& path) const {
  if (colours_.empty() || path.empty()) return false;
  std::string text = "JASC-PAL\r\n0100\r\n" + std::to_string(colours_.size()) + "\r\n";
  for (const Rgb& c : colours_) {
    text += std::to_string(c.r) + ' ' + std::to_string(c.g) + ' ' + std::to_string(c.b) + "\r\n";
  }
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  if (!out) return false;
  out.write(text.data(), static_cast<std::streamsize>(text.size()));
  out.close();
  return !out.fail();
}

std::uint32_t cPalette::Color(int i) const {
  if (i < 0 || i >= Count()) return 0;
  const Rgb& c = colours_[static_cast<std::size_t>(i)];
  return std::uint32_t{c.r} | std::uint32_t{c.g} << 8 | std::uint32_t{c.b} << 16;
}

bool cPalette::AddColor(std::uint8_t r, std::uint8_t g, std::uint8_t b) {
  if (Count() >= MaxColors) return false;
  colours_.push_back({r, g, b});
  return true;
}

int cPalette::ClosestIndex(std::uint8_t r, std::uint8_t g, std::uint8_t b) const {
  int best = -1;
  std::int32_t bestDistance = 0;
  for (int i = 0; i < Count(); ++i) {
    const Rgb& c = colours_[static_cast<std::size_t>(i)];
    const std::int32_t dr = c.r - r, dg = c.g - g, db = c.b - b;
    const std::int32_t d = dr * dr + dg * dg + db * db;
    if (best < 0 || d < bestDistance) {
      best = i;
      bestDistance = d;
    }
  }
  return best;
}

}  // namespace qorv
