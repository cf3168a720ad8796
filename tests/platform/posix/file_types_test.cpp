#include "platform/file_types.h"

#include "settings_folder.h"
#include "support.h"

namespace vemko {
namespace {

TEST(FileTypes, ComeFromTheSharedDatabase) {
  test::TempFolder folder;
  auto put = [&folder](const Path& name, std::string_view content) {
    std::filesystem::create_directories((folder / name).parent_path());
    test::putFile(folder / name, content);
  };
  put("system/mime/globs2",
      "# "
      "comment\n50:audio/x-wav:*.wav\n80:audio/better:*.snd:cs\n40:audio/worse:*.snd\n50:text/plain:readme\n"
      "50:audio/nothing:*.nothing\n50:../../secret:*.evil\n50:audio/long:*.tar.gz\nbroken\n:::\n99:audio/"
      "x:*.\n"
      "50:audio/missing:*.missing\n50:audio/system:*.both\n50:audio/late:*.late");
  put("system/mime/audio/x-wav.xml",
      "<mime-type><comment xml:lang=\"de\">Klang</comment>\n<comment>WAV &lt;audio&gt; &amp;amp; more "
      "</comment>");
  put("system/mime/audio/better.xml", "<comment>Better</comment><comment>Second</comment>");
  put("system/mime/audio/nothing.xml", "<comment xml:lang=\"de\">Klang</comment>");
  put("system/mime/audio/long.xml", "<comment>Größe</comment>");
  put("system/mime/audio/late.xml", "<comment>no end");
  put("system/mime/audio/system.xml", "<comment>System's</comment>");
  put("secret.xml", "<comment>Secret</comment>");
  put("user/mime/globs2", "50:audio/user:*.both\n");
  put("user/mime/audio/user.xml", "<comment>User's</comment>");
  test::EnvironmentVariable home("XDG_DATA_HOME", (folder / "user").c_str());
  const std::string system = "relative:/no/such/folder::" + (folder / "system").native();
  test::EnvironmentVariable dirs("XDG_DATA_DIRS", system.c_str());

  struct Case {
    const char16_t* extension;
    const char16_t* description;
  };
  for (const Case& c : {Case{u"wav", u"WAV <audio> &amp; more"},
                        {u"WAV", u"WAV <audio> &amp; more"},
                        {u"snd", u"Better"},
                        {u"both", u"User's"},
                        {u"tar.gz", u"Größe"},
                        {u"gz", u""},
                        {u"nothing", u""},
                        {u"missing", u""},
                        {u"late", u""},
                        {u"evil", u""},
                        {u"", u""},
                        {u"readme", u""},
                        {u"*", u""}}) {
    SCOPED_TRACE(toUtf8(c.extension));
    EXPECT_EQ(systemFileTypeDescription(c.extension), c.description);
  }
}

}  // namespace
}  // namespace vemko
