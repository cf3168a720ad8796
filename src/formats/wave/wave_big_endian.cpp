#include "formats/wave/wave_big_endian.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "formats/riff/format_body.h"
#include "formats/riff/riff.h"

namespace vemko::wave {
namespace {

// Fields of a body by their widths in bytes, one digit each; identifiers count as single bytes. Those of
// `repeated` come again and again up to the end, what neither covers are bytes or texts.
struct FieldRow {
  std::uint32_t id;
  std::string_view fields;
  std::string_view repeated;
};

// clang-format off
// Every chunk with numbers that are used; sub-chunks of lists are among them.
constexpr FieldRow kFieldRows[] = {
  {fourCc("ds64"), "88",        ""},
  {fourCc("fmt "), "224422",    "2"},
  {fourCc("fact"), "",          "4"},
  {fourCc("cue "), "4",         "441111444"},
  {fourCc("smpl"), "444444444", "444444"},
  {fourCc("wsmp"), "422444",    "4444"},
  {fourCc("labl"), "4",         ""},
  {fourCc("ltxt"), "44",        ""},
};
// clang-format on
// Up to the sub-format GUID with its one long and two short numbers.
constexpr FieldRow kExtensibleFormat = {fourCc("fmt "), "224422224422", ""};

const FieldRow* rowOf(std::uint32_t id, Bytes body) {
  if (id == fourCc("fmt ") && ByteReader(body).big<std::uint16_t>() == riff::kExtensibleTag)
    return &kExtensibleFormat;
  for (const FieldRow& row : kFieldRows)
    if (row.id == id) return &row;
  return nullptr;
}

// Swaps the fields that are whole; returns what stands behind them, or nothing once a field is not.
std::span<std::byte> swapFields(std::span<std::byte> bytes, std::string_view widths) {
  for (char digit : widths) {
    const std::size_t width = static_cast<std::size_t>(digit - '0');
    if (width > bytes.size()) return {};
    std::reverse(bytes.begin(), bytes.begin() + digit - '0');
    bytes = bytes.subspan(width);
  }
  return bytes;
}

void appendSwapped(ByteWriter& out, std::uint32_t id, Bytes body) {
  const std::size_t start = out.size();
  out.append(body);
  const FieldRow* row = rowOf(id, body);
  if (!row) return;
  std::span<std::byte> rest = swapFields(std::span(out.bytes).subspan(start), row->fields);
  while (!rest.empty() && !row->repeated.empty()) rest = swapFields(rest, row->repeated);
}

std::vector<std::byte> littleEndianList(Bytes body) {
  riff::ChunkBuilder builder;
  builder.out.bytes.reserve(body.size());
  builder.out.u32(riff::listType(body));
  riff::ChunkWalker walker(riff::listContents(body), true);
  for (riff::Chunk chunk; walker.next(chunk);) {
    builder.open(chunk.id);
    appendSwapped(builder.out, chunk.id, chunk.body);
    builder.close();
  }
  return std::move(builder.out.bytes);
}

}  // namespace

std::optional<std::vector<std::byte>> littleEndianBody(std::uint32_t id, Bytes body) {
  if (id == fourCc("LIST")) return littleEndianList(body);
  if (!rowOf(id, body)) return std::nullopt;
  ByteWriter out;
  appendSwapped(out, id, body);
  return std::move(out.bytes);
}

}  // namespace vemko::wave
