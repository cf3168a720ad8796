#include <gtest/gtest.h>

#include "codecs/ape.h"
#include "formats/audio/audio_file.h"
#include "support.h"

namespace vemko::audio {
namespace {

std::string field(std::string text, std::size_t size) {
  text.resize(size);
  return text;
}

TEST(AudioTags, StandAtTheEndInAnyNumber) {
  Collection collection;
  Waveform& tagged = createWaveform(collection, u"new");
  tagged.setText(TextProperty::Copyright, u"Me");
  const std::vector<std::byte> apeBytes = buildApe(tagged);
  const std::string ape(reinterpret_cast<const char*>(apeBytes.data()), apeBytes.size());
  const std::string old = "TAG" + field("old", 30) + field("Artist", 30) + field("Album", 30) +
                          field("1999", 4) + field("Comment", 30) + '\x01';
  struct Case {
    const char* name;
    std::string file;
    const char16_t *title, *artist, *copyright;
  };
  for (const Case& c :
       {Case{"none", "samples", u"", u"", u""}, Case{"APE", "samples" + ape, u"new", u"", u"Me"},
        Case{"ID3v1", "samples" + old, u"old", u"Artist", u""},
        Case{"both", "samples" + ape + old, u"new", u"Artist", u"Me"},
        Case{"half of one", old.substr(5), u"", u"", u""}}) {
    SCOPED_TRACE(c.name);
    Waveform& waveform = createWaveform(collection, u"");
    readTagsAtEnd(asBytes(c.file), waveform);
    EXPECT_EQ(waveform.name(), c.title);
    EXPECT_EQ(waveform.text(TextProperty::Artist), c.artist);
    EXPECT_EQ(waveform.text(TextProperty::Copyright), c.copyright);
  }
}

}  // namespace
}  // namespace vemko::audio
