#include "app/document/clipboard.h"

#include <random>

#include "app/document/document.h"
#include "core/parameters.h"
#include "core/play_rules.h"
#include "support.h"

namespace vemko::app {
namespace {

using Ids = std::vector<ItemId>;

// An instrument in which no field is left at its default, with a waveform.
ItemId fill(Collection& collection) {
  Waveform& wave = createWaveform(collection, u"Wave");
  wave.rate = 48000;
  wave.rootKey = 61;
  wave.fineTuneCents = -7;
  wave.volumeAdjustmentDb = 1.5f;
  wave.setSamples(SampleBuffer::allocate(50, 2, 48000));
  wave.editableSamples()[3] = 0.25f;
  wave.addLoop({.startFrames = 10.25, .endFrames = 20.5, .tuneSemitones = 1}, {}, true, false);
  wave.setText(TextProperty::Artist, u"Somebody");
  Instrument& instrument = createInstrument(collection, u"Piano", Patch::of(1, 2, 3, true));
  instrument.sendEffects[1] = SendEffect::Reverb;
  instrument.articulation.set(slots::FilterCutoff, 1000);
  Layer& layer = createLayer(instrument, u"Layer");
  layer.articulation.set(slots::Pan, -0.5f);
  Region& region = createRegion(
      layer, u"Region",
      {.waveform = serialOf(wave.id()), .keys = {10, 20}, .velocities = {30, 40}, .rootKey = 15});
  region.trigger = Trigger::Release;
  region.delaySeconds = 0.5f;
  region.section = {5, 45};
  region.articulation.set(slots::VEnv, 0.5f);
  PlayRules rules;
  rules.sequenceLength = 3;
  rules.randomHigh = 0.5f;
  rules.stopsNaturally = true;
  rules.velocityFade = FadeCurve::Gain;
  rules.controllers = {{64, 1, 100, 50}, {1, 2, 3}};
  rules.controllerFade = FadeCurve::Gain;
  rules.fadeIns = {{1, 0, 64}};
  rules.fadeOuts = {{4, 64, 127, 90}};
  rules.switches = {{24, 35}, {24, 25}, 25, 1, 2, 3};
  region.rules = std::make_shared<const PlayRules>(rules);
  return instrument.id();
}

TEST(Clipboard, ItemsComeBackAsTheyWere) {
  Document from, to;
  const ItemId instrument = fill(from.collection());
  auto copied = from.copy(Ids{instrument});
  ASSERT_TRUE(copied);
  std::vector<std::byte> bytes;
  ASSERT_TRUE(appendItems(*copied, bytes)) << toUtf8(lastError());
  auto read = itemsFrom(bytes);
  ASSERT_TRUE(read) << toUtf8(lastError());
  ASSERT_TRUE(to.paste(std::move(*read), kNoItem, false)) << toUtf8(lastError());

  const auto* pasted = to.collection().all<Instrument>().at(0);
  EXPECT_EQ(pasted->name(), u"Piano");  // another document: no "Copy of"
  EXPECT_EQ(pasted->patch.word, Patch::of(1, 2, 3, true).word);
  EXPECT_EQ(pasted->sendEffects[1], SendEffect::Reverb);
  EXPECT_EQ(pasted->articulation.get(slots::FilterCutoff), 1000);
  const Region& region = *regionsOf(*pasted).at(0);
  const Region& original = *regionsOf(from.collection()).at(0);
  EXPECT_TRUE(playsAlike(region, original));
  EXPECT_EQ(region.articulation, original.articulation);
  ASSERT_TRUE(region.rules);
  EXPECT_EQ(*region.rules, *original.rules);
  ASSERT_NE(region.waveform(), nullptr);
  const Waveform& wave = *region.waveform();
  EXPECT_EQ(wave.rate, 48000u);
  EXPECT_EQ(wave.channels, 2);
  EXPECT_EQ(wave.fineTuneCents, -7);
  EXPECT_EQ(std::as_const(*wave.buffer).samples()[3], 0.25f);
  EXPECT_EQ(wave.text(TextProperty::Artist), u"Somebody");
  ASSERT_NE(wave.mainLoop(), nullptr);
  EXPECT_EQ(wave.mainLoop()->startHundredths, 25);
  EXPECT_NE(wave.mainLoopId, original.waveform()->mainLoopId);  // record ids are unique in the run
}

TEST(Clipboard, CopiesOfTheSameDocumentPlayItsWaveforms) {
  Document document;
  const ItemId instrument = fill(document.collection());
  ASSERT_TRUE(document.paste(*document.copy(Ids{instrument}), kNoItem, false));
  EXPECT_EQ(document.collection().count(ItemKind::Waveform), 1u);
  EXPECT_EQ(document.collection().all<Instrument>().at(1)->name(), u"Copy of Piano");
  EXPECT_EQ(regionsOf(document.collection()).at(1)->waveform(), document.collection().all<Waveform>().at(0));
}

// Ids of the items copied before mean others then.
TEST(Clipboard, CopiesBringTheirWaveformsIntoTheNextDocument) {
  Document document;
  Waveform& low = createWaveform(document.collection(), u"low");
  Waveform& high = createWaveform(document.collection(), u"high");
  Instrument& instrument = createInstrument(document.collection(), u"");
  Layer& layer = createLayer(instrument, u"");
  for (const Waveform* wave : {&high, &low}) createRegion(layer, u"", {.waveform = serialOf(wave->id())});
  auto linked = document.copy(Ids{high.id()}), copied = document.copy(Ids{instrument.id()});
  document.startNew();
  for (int i = 0; i < 4; ++i) createWaveform(document.collection(), u"other");
  const ItemId target = createLayer(createInstrument(document.collection(), u""), u"").id();
  EXPECT_FALSE(document.paste(std::move(*linked), target, true));
  ASSERT_TRUE(document.paste(std::move(*copied), kNoItem, false)) << toUtf8(lastError());
  const auto regions = regionsOf(*document.collection().all<Instrument>().at(1));
  ASSERT_EQ(regions.size(), 2u);
  for (const Region* region : regions) ASSERT_NE(region->waveform(), nullptr);
  EXPECT_EQ(regions[0]->waveform()->name(), u"high");
  EXPECT_EQ(regions[1]->waveform()->name(), u"low");
}

// An id that is free again may be another waveform's.
TEST(Clipboard, CopiesPlayTheirOwnWaveformsWhateverHasTheirIds) {
  for (const bool isEdited : {false, true}) {
    SCOPED_TRACE(isEdited ? "edited" : "replaced");
    Document document;
    Collection& collection = document.collection();
    Waveform& kick = createWaveform(collection, u"kick");
    kick.setSamples(SampleBuffer::allocate(10, 1, 44100));
    Instrument& drums = createInstrument(collection, u"Drums");
    createRegion(createLayer(drums, u""), u"", {.waveform = serialOf(kick.id())});
    const ItemId id = kick.id();
    auto copied = document.copy(Ids{drums.id()});
    std::vector<std::byte> bytes;
    ASSERT_TRUE(appendItems(*copied, bytes)) << toUtf8(lastError());
    if (isEdited) {
      kick.setSamples(SampleBuffer::allocate(5, 1, 22050));
      kick.setName(u"short kick");
    } else {
      ASSERT_TRUE(document.remove(Ids{id}));
      ASSERT_EQ(createWaveform(collection, u"snare", serialOf(id)).id(), id);
    }
    ASSERT_TRUE(document.paste(std::move(*itemsFrom(bytes)), kNoItem, false)) << toUtf8(lastError());
    const Waveform* played = regionsOf(*collection.all<Instrument>().at(1)).at(0)->waveform();
    ASSERT_NE(played, nullptr);
    EXPECT_EQ(played->name(), isEdited ? u"short kick" : u"kick");
  }
}

TEST(Clipboard, CutKeepsTheName) {
  Document document;
  const ItemId instrument = fill(document.collection());
  auto copied = document.copy(Ids{instrument}, true);
  ASSERT_TRUE(document.remove(Ids{instrument}));
  ASSERT_TRUE(document.paste(std::move(*copied), kNoItem, false));
  EXPECT_EQ(document.collection().all<Instrument>().at(0)->name(), u"Piano");
}

TEST(Clipboard, ALinkedWaveformThatWasCutComesBack) {
  Document document;
  Collection& collection = document.collection();
  const ItemId wave = createWaveform(collection, u"Wave").id();
  Instrument& instrument = createInstrument(collection, u"Piano");
  const Layer& layer = createLayer(instrument, u"Layer");
  auto copied = document.copy(Ids{wave}, true);
  ASSERT_TRUE(document.remove(Ids{wave}));
  ASSERT_TRUE(document.paste(std::move(*copied), layer.id(), true)) << toUtf8(lastError());
  const auto regions = regionsOf(instrument);
  ASSERT_EQ(regions.size(), 1u);
  ASSERT_TRUE(regions[0]->waveform());
  EXPECT_EQ(regions[0]->waveform()->name(), u"Wave");
  EXPECT_EQ(layer.children, Ids{regions[0]->id()});
  ASSERT_TRUE(document.undo());
  EXPECT_EQ(collection.count(ItemKind::Waveform) + collection.count(ItemKind::Region), 0u);
}

// Damaged bytes fail with the message, or give items that are sound; they never crash.
TEST(Clipboard, SurvivesDamagedBytes) {
  Document from;
  const ItemId instrument = fill(from.collection());
  std::vector<std::byte> bytes;
  ASSERT_TRUE(appendItems(*from.copy(Ids{instrument}), bytes));
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    setLastError({});
    if (!itemsFrom(Bytes(bytes).first(length))) {
      EXPECT_EQ(lastError(), kCorruptedClipboard);
    }
  }
  std::mt19937 random(1);
  for (int round = 0; round < 3000; ++round) {
    std::vector<std::byte> damaged = bytes;
    for (int i = 0; i < 3; ++i) damaged[random() % 400] = static_cast<std::byte>(random());
    if (auto read = itemsFrom(damaged)) {
      Document to;
      to.paste(std::move(*read), kNoItem, false);
    }
  }
}

TEST(Clipboard, AnEnvelopeFitsAnotherOne) {
  ArticulationBlock block, target;
  block.set(envelopeSlot(slots::VEnv, Stage::Attack1Time), 2);
  block.set(envelopeSlot(slots::VEnv, Stage::ShutdownRate), 5);  // the others have none
  block.set(slots::Pan, 1);
  const CopiedSlots copied = copyOfGroup(block, SlotGroup::VEnvelope);
  EXPECT_EQ(copied.format, ClipboardFormat::Eg);
  auto read = slotsFrom(bytesOf(copied), copied.format);
  ASSERT_TRUE(read);
  target.set(envelopeSlot(slots::PEnv, Stage::Decay1Time), 3);
  pasteGroup(*read, target, SlotGroup::PEnvelope);
  EXPECT_EQ(target.get(envelopeSlot(slots::PEnv, Stage::Attack1Time)), 2);
  EXPECT_EQ(target.count(), 1u);
  EXPECT_FALSE(slotsFrom(Bytes(bytesOf(copied)).first(6), copied.format));
}

}  // namespace
}  // namespace vemko::app
