// Path helpers: results for paths written with "\", with "/", and odd input.
#include <gtest/gtest.h>

#include <tuple>

#include "imageio/Paths.h"

using namespace qorv::imageio;

namespace {

TEST(PathHelpers, FileExtension) {
  const std::tuple<const char*, bool, const char*> cases[] = {
      {"C:\\a.b\\file", false, ""},   {"photo.jpg", false, "jpg"},  {"photo.jpg", true, ".jpg"},
      {"png", false, "png"},          {"png", true, ".png"},        {"a.tar.gz", false, "gz"},
      {"C:\\dir\\x.PNG", true, ".PNG"}, {"/a.b/file", false, ""},    {"/home/u/pic.tif", false, "tif"},
      {"dir\\", false, ""},           {"name.", false, ""},         {"name.", true, "."},
      {"", false, ""},                {".hidden", false, "hidden"}, {"a/b.c\\d", false, ""},
  };
  for (const auto& [in, dot, out] : cases)
    EXPECT_EQ(FileExtension(QString::fromLatin1(in), dot), QString::fromLatin1(out)) << in << " dot=" << dot;
}

TEST(PathHelpers, FileName) {
  const std::pair<const char*, const char*> cases[] = {
      {"C:\\dir\\", "C:\\dir\\"}, {"a/b.png", "b.png"},   {"plain.txt", "plain.txt"},
      {"C:\\x\\y.bmp", "y.bmp"},  {"/home/u/", "/home/u/"}, {"/home/u/p q.png", "p q.png"},
      {"", ""},                   {"a\\b/c.png", "c.png"},
  };
  for (const auto& [in, out] : cases) EXPECT_EQ(FileName(QString::fromLatin1(in)), QString::fromLatin1(out)) << in;
}

TEST(PathHelpers, FileDirectory) {
  const std::pair<const char*, const char*> cases[] = {
      {"C:\\dir\\pic.png", "C:\\dir\\"}, {"C:\\dir\\", "C:\\dir\\"}, {"pic.png", "pic.png"},
      {"/home/u/pic.png", "/home/u/"},   {"/home/u/", "/home/u/"},  {"/pic.png", "/"},
      {"", ""},
  };
  for (const auto& [in, out] : cases)
    EXPECT_EQ(FileDirectory(QString::fromLatin1(in)), QString::fromLatin1(out)) << in;
}

TEST(PathHelpers, RemoveFileExtension) {
  const std::pair<const char*, const char*> cases[] = {
      {"archive.tar.gz", "archive.tar"}, {"C:\\dir.x\\file", "C:\\dir"}, {"README", ""},
      {"/a/b.png", "/a/b"},              {".png", ""},                   {"", ""},
  };
  for (const auto& [in, out] : cases)
    EXPECT_EQ(RemoveFileExtension(QString::fromLatin1(in)), QString::fromLatin1(out)) << in;
}

TEST(PathHelpers, NonAsciiTextSplitsLikeAscii) {
  const QString p = QStringLiteral("/tmp/Bilder \u00fc/\u65e5\u672c.Jpeg");
  EXPECT_EQ(std::tuple(FileExtension(p), FileName(p), FileDirectory(p), RemoveFileExtension(p)),
            std::tuple(QStringLiteral("Jpeg"), QStringLiteral("\u65e5\u672c.Jpeg"), QStringLiteral("/tmp/Bilder \u00fc/"),
                       QStringLiteral("/tmp/Bilder \u00fc/\u65e5\u672c")));
}

}  // namespace
