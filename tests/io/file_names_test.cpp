#include "io/file_names.h"

#include "support.h"

namespace vemko::io {
namespace {

std::u16string repeated(std::u16string_view part, std::size_t times) {
  std::u16string text;
  while (times-- > 0) text += part;
  return text;
}

TEST(FileNames, AreSafeOnEverySystem) {
  struct Case {
    std::u16string name, stem;
  };
  for (const Case& c : {
           Case{u"Kick 1", u"Kick 1"},
           Case{u"../../etc/passwd", u"_._.._etc_passwd"},
           Case{u"C:\\x", u"C__x"},
           Case{u"a<b>c|d?e*f\"g:h", u"a_b_c_d_e_f_g_h"},
           Case{u"line\nbreak\t\u0085\u007F", u"line_break___"},
           Case{u" ends. . ", u"ends"},
           Case{u".hidden", u"_hidden"},
           Case{u"..", u"unnamed"},
           Case{u"", u"unnamed"},
           Case{u"CON", u"_CON"},
           Case{u"nul.tar", u"_nul.tar"},
           Case{u"Com7", u"_Com7"},
           Case{u"LPT\u00B2", u"_LPT\u00B2"},
           Case{u"aux .x", u"_aux .x"},
           Case{u"CONSOLE", u"CONSOLE"},
           Case{u"COM10", u"COM10"},
           Case{u"h\u00E9 \U0001F3B9", u"h\u00E9 \U0001F3B9"},
           Case{u"\xD83C"
                u"x\xDCFF",
                u"_x_"},
           Case{repeated(u"a", 300), repeated(u"a", 200)},
           Case{u"a" + repeated(u"\u00E9", 150), u"a" + repeated(u"\u00E9", 99)},
           Case{repeated(u"a", 199) + u"  b", repeated(u"a", 199)},
       })
    EXPECT_EQ(toUtf8(safeStem(c.name)), toUtf8(c.stem));
}

TEST(FileNames, JoinBaseAndItem) {
  struct Case {
    std::u16string base, item, name;
  };
  for (const Case& c : {
           Case{u"Bank", u"Kick", u"Bank - Kick.wav"},
           Case{u"", u"Kick", u"Kick.wav"},
           Case{u"Bank", u"", u"Bank.wav"},
           Case{u"", u"", u"unnamed.wav"},
           Case{u"Bank.", u"/", u"Bank - _.wav"},
           Case{repeated(u"b", 190), u"Kick long", repeated(u"b", 100) + u" - Kick long.wav"},
           Case{repeated(u"b", 190), repeated(u"k", 300),
                repeated(u"b", 100) + u" - " + repeated(u"k", 97) + u".wav"},
       })
    EXPECT_EQ(toUtf8(textOf(autoFileName(c.base, c.item, u"wav"))), toUtf8(c.name));
}

TEST(FileNames, FreeNamesAndReserve) {
  auto taken = [](const Path& path) { return path == "x/a.wav" || path == "x/a (2).wav"; };
  EXPECT_EQ(freeFileName("x/a.wav", taken), "x/a (3).wav");
  EXPECT_EQ(freeFileName("x/b.wav", taken), "x/b.wav");

  NameReserve reserve;
  EXPECT_EQ(reserve.claim("x/a.wav", taken), "x/a (3).wav");
  EXPECT_EQ(reserve.claim("x/A.wav", taken), "x/A.wav");
  EXPECT_EQ(reserve.claim("x/a.wav", taken), "x/a (4).wav");
  EXPECT_EQ(reserve.claim("X/a.WAV", taken), "X/a (5).WAV");
}

TEST(FileNames, ManyEqualNamesCostNoSearch) {
  NameReserve reserve;
  for (int i = 0; i < 50000; ++i) reserve.claim("unnamed.wav");
  EXPECT_EQ(reserve.claim("unnamed.wav"), "unnamed (50001).wav");
}

}  // namespace
}  // namespace vemko::io
