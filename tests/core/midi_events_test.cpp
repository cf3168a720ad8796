#include "core/midi_events.h"

#include <gtest/gtest.h>
#include <random>
#include <string>

#include "core/collection.h"

namespace vemko {
namespace {

using namespace std::string_literals;

TEST(MidiEvents, WalksUntilAnEventDoesNotFit) {
  struct Case {
    const char* name;
    std::string bytes;
    std::uint32_t events;
    std::size_t rest;
  };
  const Case cases[] = {
      {"empty", "", 0, 0},
      {"note on and off", "\x00\x90\x3C\x40\x60\x80\x3C\x00"s, 2, 0},
      {"running status", "\x00\x90\x3C\x40\x60\x3C\x00\x00\x3E\x40"s, 3, 0},
      {"running status after a meta event", "\x00\xC1\x05\x00\xFF\x01\x01x\x00\x06"s, 3, 0},
      {"one data byte", "\x00\xC0\x05\x00\xD0\x10\x00\x11"s, 3, 0},
      {"four-byte delta", "\xFF\xFF\xFF\x7F\xC0\x05"s, 1, 0},
      {"five-byte delta", "\xFF\xFF\xFF\xFF\x7F\xC0\x05"s, 0, 7},
      {"system exclusive", "\x00\xF0\x03\x41\x10\xF7\x00\xF7\x00"s, 2, 0},
      {"system common", "\x00\xF1\x10\x00\xF2\x01\x02\x00\xF3\x01\x00\xF6\x00\xF8"s, 5, 0},
      {"end of track", "\x00\xFF\x2F\x00"s, 1, 0},
      {"long meta event", "\x00\xFF\x01\x81\x00"s + std::string(128, 'x'), 1, 0},
      {"data byte before any status", "\x00\x3C\x40"s, 0, 3},
      {"data byte after a meta event only", "\x00\xFF\x01\x00\x00\x3C\x40"s, 1, 3},
      {"delta only", "\x00"s, 0, 1},
      {"meta length past the end", "\x00\x90\x3C\x40\x00\xFF\x01\x7Fx"s, 1, 5},
      {"huge system exclusive length", "\x00\xF0\xFF\xFF\xFF\x7Fx"s, 0, 7},
      {"endless length", "\x00\xF0\xFF\xFF\xFF\xFF\x00"s, 0, 7},
      {"cut note", "\x00\x90\x3C"s, 0, 3},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    MidiEventWalker walker(asBytes(c.bytes));
    MidiEvent event;
    std::uint32_t events = 0;
    while (walker.next(event)) ++events;
    EXPECT_EQ(events, c.events);
    EXPECT_EQ(walker.rest().size(), c.rest);

    Collection collection;
    Track& track = createTrack(createSong(collection, u""), u"");
    track.setEvents(asBytes(c.bytes));
    const auto& copy = static_cast<const Track&>(copyItem(track, collection));
    EXPECT_EQ(copy.eventCount(), c.events);
    EXPECT_EQ(copy.events().size(), c.bytes.size());
  }
}

TEST(MidiEvents, TellsTheEventsParts) {
  const std::string bytes = "\x81\x00\x93\x3C\x40\x05\x3E\x41\x00\xFF\x51\x03\x07\xA1\x20"s;
  MidiEventWalker walker(asBytes(bytes));
  MidiEvent event;
  ASSERT_TRUE(walker.next(event));
  EXPECT_EQ(event.delta, 128u);
  EXPECT_EQ(event.whole.size(), 5u);
  ASSERT_TRUE(walker.next(event));
  EXPECT_EQ(event.status, 0x93);
  EXPECT_EQ(event.delta, 5u);
  EXPECT_EQ(event.data[0], std::byte{0x3E});
  EXPECT_EQ(event.whole.size(), 3u);
  ASSERT_TRUE(walker.next(event));
  EXPECT_EQ(event.metaType, 0x51);
  EXPECT_EQ(event.data.size(), 3u);
  EXPECT_EQ(event.data[0], std::byte{0x07});
  EXPECT_FALSE(walker.next(event));
}

TEST(MidiEvents, NeverPassesTheEndOfRandomData) {
  std::mt19937 random(11);
  for (int run = 0; run < 5000; ++run) {
    // A block of its own for each length, so that a read past its end is seen.
    std::vector<std::byte> bytes(random() % 40);
    for (std::byte& byte : bytes) byte = static_cast<std::byte>(random() % 4 ? random() % 256 : 0xFF);
    MidiEventWalker walker(bytes);
    MidiEvent event;
    std::size_t walked = 0;
    while (walker.next(event)) {
      ASSERT_GE(event.whole.size(), 2u);
      walked += event.whole.size();
    }
    EXPECT_EQ(walked + walker.rest().size(), bytes.size());
  }
}

}  // namespace
}  // namespace vemko
