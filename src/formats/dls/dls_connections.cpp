#include "formats/dls/dls_connections.h"

#include <algorithm>

namespace vemko::dls {
namespace {

constexpr std::size_t kConnectionBytes = 12, kHeaderBytes = 8;
constexpr std::uint16_t kConcave = 1, kLargestCurve = 0xF;
// Real lists have some dozens; this keeps comparing them cheap, whatever a file holds.
constexpr std::size_t kMaxConnections = 128;

bool isAlwaysBipolar(std::uint16_t from) {
  return from == source::Lfo || from == source::Vibrato || from == source::PitchWheel || from == source::Pan;
}

std::uint16_t effectiveTransform(const Connection& connection) {
  const std::uint16_t bipolar = isAlwaysBipolar(connection.source) ? transform::BipolarSource : 0;
  return connection.transform | bipolar;
}

// The curves of controllers and velocity to the level, the only ones of level 1, run from silence at 0.
std::uint16_t fromLevel1(std::uint16_t word) { return word == kConcave ? transform::VelocityCurve : word; }

bool toLevel1(Connection& connection) {
  if (connection.transform == transform::VelocityCurve) {
    connection.transform = kConcave;
    return true;
  }
  if (isAlwaysBipolar(connection.source)) connection.transform &= ~transform::BipolarSource & 0xFFFF;
  return connection.transform <= kLargestCurve;
}

}  // namespace

std::uint64_t routeKey(const Connection& connection) {
  return std::uint64_t{connection.source} << 48 | std::uint64_t{connection.control} << 32 |
         std::uint64_t{connection.destination} << 16 | effectiveTransform(connection);
}

void readConnections(Bytes body, List list, std::vector<Connection>& connections, Complaints& complaints) {
  ByteReader reader(body);
  const std::uint32_t headerBytes = reader.u32();
  std::uint32_t count = reader.u32();
  if (headerBytes > kHeaderBytes) reader.skip(headerBytes - kHeaderBytes);
  for (; count > 0 && reader.ok && reader.remaining() >= kConnectionBytes; --count) {
    Connection connection;
    connection.source = reader.u16();
    connection.control = reader.u16();
    connection.destination = reader.u16();
    connection.transform = reader.u16();
    connection.scale = reader.i32();
    if (list == List::Level1) connection.transform = fromLevel1(connection.transform);
    if (connections.size() == kMaxConnections) {
      complaints.add(u"A list of connections is longer than a voice has use for and is cut");
      return;
    }
    connections.push_back(connection);
  }
}

std::vector<std::byte> buildConnections(const std::vector<Connection>& connections, List list) {
  ByteWriter out;
  out.u32(kHeaderBytes);
  out.u32(0);
  std::uint32_t count = 0;
  for (Connection connection : connections) {
    if (list == List::Level1 && !toLevel1(connection)) continue;
    for (std::uint16_t word :
         {connection.source, connection.control, connection.destination, connection.transform})
      out.u16(word);
    out.i32(connection.scale);
    ++count;
  }
  out.patchU32(4, count);
  return std::move(out.bytes);
}

std::vector<Connection> overlay(std::vector<Connection> base, const std::vector<Connection>& overrides) {
  for (const Connection& each : overrides) {
    const auto same =
        std::ranges::find_if(base, [&](const Connection& other) { return isSameRoute(each, other); });
    if (same == base.end())
      base.push_back(each);
    else
      *same = each;
  }
  return base;
}

const Connection* findRoute(const std::vector<Connection>& connections, const Connection& route) {
  const auto found =
      std::ranges::find_if(connections, [&](const Connection& each) { return isSameRoute(each, route); });
  return found == connections.end() ? nullptr : &*found;
}

bool isSameList(const std::vector<Connection>& a, const std::vector<Connection>& b) {
  return a.size() == b.size() && std::ranges::all_of(a, [&](const Connection& each) {
           const Connection* other = findRoute(b, each);
           return other && other->scale == each.scale;
         });
}

}  // namespace vemko::dls
