#include <gtest/gtest.h>

#include "base/text.h"
#include "core/collection.h"

namespace vemko {
namespace {

TEST(Item, TrimsTextsAndClearsWhatIsEmptyThen) {
  struct Case {
    const char* name;
    std::u16string_view given;
    std::u16string_view kept;
  };
  const Case cases[] = {
      {"plain", u"Piano", u"Piano"},
      {"blanks at both ends", u"\t Grand  Piano \r\n", u"Grand  Piano"},
      {"control characters",
       u"\x01\x1F"
       u"A\x02",
       u"A"},
      {"no-break space stays", u"\u00A0A", u"\u00A0A"},
      {"blanks only", u"   ", u""},
      {"empty", u"", u""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    Waveform& waveform = createWaveform(collection, u"before");
    for (TextProperty property : {TextProperty::Name, TextProperty::Artist}) {
      waveform.setText(property, u"before");
      waveform.setText(property, c.given);
      EXPECT_EQ(toUtf8(waveform.text(property)), toUtf8(c.kept));
    }
    EXPECT_EQ(toUtf8(waveform.displayName()), c.kept.empty() ? "unnamed" : toUtf8(c.kept));
  }
}

TEST(Item, TakesTextsWithALengthOrATerminator) {
  Collection collection;
  Song& song = createSong(collection, u"");
  song.setText(TextProperty::Comments, u"one two", 3);
  EXPECT_EQ(song.text(TextProperty::Comments), u"one");
  song.setText(TextProperty::Comments, u"one two", -1);
  EXPECT_EQ(song.text(TextProperty::Comments), u"one two");
  song.setText(TextProperty::Comments, nullptr, -1);
  EXPECT_EQ(song.text(TextProperty::Comments), u"");
}

TEST(Item, TrimsTheImageAndKnowsItsType) {
  struct Case {
    const char* name;
    std::string_view bytes;
    std::string_view type;
  };
  const Case cases[] = {
      {"JPEG", "\n\xFF\xD8\xFF\xE0 ", "image/jpeg"},
      {"PNG", "\x89PNG\r\n\x1A\nIHDR", "image/png"},
      {"GIF", " GIF89a", "image/gif"},
      {"something else", "BM", ""},
      {"cut signature", "GIF8", ""},
      {"blanks", " \n", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    collection.setImage(asBytes(c.bytes));
    EXPECT_EQ(Item::imageMimeType(collection.image()), c.type);
    const auto last = collection.image().empty() ? std::byte{255} : collection.image().back();
    EXPECT_GT(last, std::byte{32});
  }
}

TEST(Item, MovesChildren) {
  struct Case {
    std::size_t from, to;
    std::vector<ItemId> order;
  };
  const Case cases[] = {
      {0, 2, {2, 3, 1, 4}}, {3, 0, {4, 1, 2, 3}}, {1, 99, {1, 3, 4, 2}},
      {2, 2, {1, 2, 3, 4}}, {4, 0, {1, 2, 3, 4}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.from << " to " << c.to);
    Collection collection;
    Song& song = createSong(collection, u"");
    song.children = {1, 2, 3, 4};
    song.moveChild(c.from, c.to);
    EXPECT_EQ(song.children, c.order);
  }
}

}  // namespace
}  // namespace vemko
