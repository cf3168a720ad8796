#include "codecs/id3.h"

#include <algorithm>
#include <string>
#include <taglib/attachedpictureframe.h>
#include <taglib/commentsframe.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/tbytevectorstream.h>
#include <taglib/textidentificationframe.h>

#include "base/log.h"
#include "base/text.h"
#include "base/version.h"

namespace vemko {
namespace {

struct FrameRow {
  const char* id;
  TextProperty property;
};

// clang-format off
// Text frames, both directions. Comments have a frame of another kind.
constexpr FrameRow kFrameRows[] = {
  {"TIT2", TextProperty::Name},
  {"TPE1", TextProperty::Artist},
  {"TCOP", TextProperty::Copyright},
  {"TENC", TextProperty::Engineer},
  {"TALB", TextProperty::Product},
  {"TOFN", TextProperty::SourceFile},
};
// clang-format on

std::u16string toText(const TagLib::String& text) { return toUtf16(text.to8Bit(true)); }
TagLib::String toTag(const std::u16string& text) { return {toUtf8(text), TagLib::String::UTF8}; }

void setWhereEmpty(Item& item, TextProperty property, const TagLib::String& text) {
  if (item.text(property).empty()) item.setText(property, toText(text));
}

// The front cover, else the first picture.
const TagLib::ID3v2::AttachedPictureFrame* findPicture(const TagLib::ID3v2::FrameList& frames) {
  const TagLib::ID3v2::AttachedPictureFrame* found = nullptr;
  for (const TagLib::ID3v2::Frame* frame : frames) {
    auto* picture = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame*>(frame);
    if (!picture || picture->picture().isEmpty()) continue;
    if (picture->type() == TagLib::ID3v2::AttachedPictureFrame::FrontCover) return picture;
    if (!found) found = picture;
  }
  return found;
}

// The comment without a description, else the first; those of iTunes hold numbers for players.
TagLib::String findComment(const TagLib::ID3v2::FrameList& frames) {
  TagLib::String found;
  for (const TagLib::ID3v2::Frame* frame : frames) {
    auto* comment = dynamic_cast<const TagLib::ID3v2::CommentsFrame*>(frame);
    if (!comment || comment->description().startsWith("iTun")) continue;
    if (comment->description().isEmpty()) return comment->text();
    if (found.isEmpty()) found = comment->text();
  }
  return found;
}

void takeTag(const TagLib::ID3v2::Tag& tag, Item& item) {
  for (const FrameRow& row : kFrameRows) {
    const auto& frames = tag.frameList(row.id);
    if (!frames.isEmpty()) setWhereEmpty(item, row.property, frames.front()->toString());
  }
  setWhereEmpty(item, TextProperty::Comments, findComment(tag.frameList("COMM")));
  if (const auto* picture = findPicture(tag.frameList("APIC")); picture && item.image().empty()) {
    const TagLib::ByteVector data = picture->picture();
    item.setImage(asBytes({data.data(), data.size()}));
  }
}

// The tag's own length, so that a chunk of any size costs no more memory than its tag.
std::size_t tagBytes(Bytes tag) {
  ByteReader reader(tag);
  if (reader.u8() != 'I' || reader.u8() != 'D' || reader.u8() != '3') return 0;
  reader.skip(3);
  std::size_t size = 0;
  for (int i = 0; i < 4; ++i) size = size << 7 | (reader.u8() & 127u);
  return reader.ok ? std::min(size + 20, tag.size()) : 0;  // header and footer
}

}  // namespace

Id3Head skipId3(Bytes head) {
  constexpr std::size_t kHeaderBytes = 10;
  while (head.size() >= kHeaderBytes && std::ranges::equal(head.first(3), asBytes("ID3"))) {
    ByteReader reader(head.subspan(5));
    const bool hasFooter = reader.u8() & 0x10;
    std::size_t size = kHeaderBytes + (hasFooter ? kHeaderBytes : 0), body = 0;
    for (int i = 0; i < 4; ++i) body = body << 7 | (reader.u8() & 127u);
    size += body;
    if (size >= head.size()) return {{}, true};
    head = head.subspan(size);
  }
  return {head, false};
}

void readId3(Bytes tag, Item& item) try {
  const std::size_t size = tagBytes(tag);
  if (size == 0) return;
  TagLib::ByteVectorStream stream(
      TagLib::ByteVector(reinterpret_cast<const char*>(tag.data()), static_cast<unsigned>(size)));
  TagLib::MPEG::File file(&stream, TagLib::ID3v2::FrameFactory::instance(), false);
  if (const TagLib::ID3v2::Tag* found = file.ID3v2Tag()) takeTag(*found, item);
} catch (const std::exception&) {
  logWarning(u"A damaged ID3 tag could not be read");
}

std::vector<std::byte> buildId3(const Item& item) try {
  TagLib::ID3v2::Tag tag;
  for (const FrameRow& row : kFrameRows)
    if (const std::u16string& text = item.text(row.property); !text.empty()) {
      auto* frame = new TagLib::ID3v2::TextIdentificationFrame(row.id, TagLib::String::UTF8);
      tag.addFrame(frame);  // owns it
      frame->setText(toTag(text));
    }
  if (const std::u16string& comments = item.text(TextProperty::Comments); !comments.empty()) {
    auto* frame = new TagLib::ID3v2::CommentsFrame(TagLib::String::UTF8);
    tag.addFrame(frame);
    frame->setText(toTag(comments));
  }
  if (Bytes image = item.image(); !image.empty()) {
    auto* frame = new TagLib::ID3v2::AttachedPictureFrame;
    tag.addFrame(frame);
    frame->setMimeType(TagLib::String(std::string(Item::imageMimeType(image))));
    frame->setType(TagLib::ID3v2::AttachedPictureFrame::FrontCover);
    frame->setPicture({reinterpret_cast<const char*>(image.data()), static_cast<unsigned>(image.size())});
  }
  if (tag.isEmpty()) return {};
  auto* software = new TagLib::ID3v2::TextIdentificationFrame("TSSE", TagLib::String::UTF8);
  tag.addFrame(software);
  software->setText(kSoftwareName);
  const TagLib::ByteVector rendered = tag.render();
  const Bytes bytes = asBytes({rendered.data(), rendered.size()});
  return {bytes.begin(), bytes.end()};
} catch (const std::exception&) {
  logWarning(u"The ID3 tag could not be built and is left out");
  return {};
}

}  // namespace vemko
