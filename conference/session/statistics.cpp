#include "conference/session/statistics.h"

#include <algorithm>

namespace kavrin::conference {
namespace {

std::uint16_t saturate(std::uint64_t number) {
  return static_cast<std::uint16_t>(std::min<std::uint64_t>(number, 65535));
}

std::uint16_t kilobits(std::uint64_t bytes, std::chrono::microseconds period) {
  const auto micros = std::max<std::int64_t>(period.count(), 1);
  return saturate(bytes * 8 * 1000 / static_cast<std::uint64_t>(micros));
}

}  // namespace

Kavrin::ConferenceEngine::RtcStatistics statisticsOf(std::uint64_t bytesSent,
                                                     const RemoteMedia::Counters& received,
                                                     std::chrono::microseconds period) {
  Kavrin::ConferenceEngine::RtcStatistics statistics{};
  statistics.m_nTxBitrate = kilobits(bytesSent, period);
  statistics.m_nRxBitrate = kilobits(received.bytes, period);
  statistics.m_nTxPacketLossRate = 0;  // Nothing can get lost on the way into a room next door.
  if (received.pictures > 0) {
    statistics.m_nRxPacketLossRate = saturate(received.lost * 100 / received.pictures);
  }
  if (received.delivered > 0) {
    const auto mean = received.delay.count() / static_cast<std::int64_t>(received.delivered);
    statistics.m_nNetDelay = saturate(static_cast<std::uint64_t>((mean + 500) / 1000));
  }
  return statistics;
}

Quality qualityOf(bool flowed, std::uint16_t lossRate, std::uint16_t delay) {
  if (!flowed) return Quality::kUnknown;
  if (lossRate <= 1 && delay <= 50) return Quality::kExcellent;
  if (lossRate <= 5 && delay <= 150) return Quality::kGood;
  if (lossRate <= 15 && delay <= 400) return Quality::kPoor;
  if (lossRate <= 30 && delay <= 1000) return Quality::kBad;
  return Quality::kVeryBad;
}

}  // namespace kavrin::conference
