#include "conference/room/roster_json.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace kavrin::conference {
namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void text(Writer& writer, const char* key, const std::string& value) {
  writer.Key(key);
  writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
}

void writeMember(Writer& writer, const MemberRecord& member) {
  writer.StartObject();
  text(writer, "id", member.userId);
  text(writer, "name", member.name);
  text(writer, "info", member.extendedInfo);
  writer.Key("host");
  writer.Bool(member.host);
  writer.Key("audio");
  writer.Int(static_cast<int>(member.audio));
  writer.Key("camera");
  writer.Int(static_cast<int>(member.camera));
  writer.Key("screen");
  writer.Int(member.screenPublished ? 1 : 0);
  writer.EndObject();
}

}  // namespace

std::string rosterJson(const std::string& roomId, bool roomMuted, const Roster& roster) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.StartObject();
  text(writer, "topic", kRosterTopic);
  text(writer, "room", roomId);
  text(writer, "host", roster.empty() ? std::string() : roster.front().userId);
  writer.Key("muted");
  writer.Bool(roomMuted);
  writer.Key("members");
  writer.StartArray();
  for (const MemberRecord& member : roster) writeMember(writer, member);
  writer.EndArray();
  writer.EndObject();
  return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace kavrin::conference
