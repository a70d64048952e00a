// The binary contract with the engine library: slots of the virtual functions and places of fields.
#include "engine/engine_interface.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace Kavrin::ConferenceEngine;

// The slot of a virtual function. In the Itanium C++ ABI a pointer to one holds one plus its offset
// in the table of virtual functions.
template <typename Member>
std::ptrdiff_t slotOf(Member member) {
  std::ptrdiff_t word = 0;
  std::memcpy(&word, &member, sizeof word);
  return (word - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

TEST(EngineInterface, OperationsHaveTheirSlots) {
  using E = KavrinConferenceEngine;
  const std::ptrdiff_t slots[] = {slotOf(&E::Reserved0),
                                  slotOf(&E::SetLogFilePath),
                                  slotOf(&E::SetRootHost),
                                  slotOf(&E::Init),
                                  slotOf(&E::UnInit),
                                  slotOf(&E::SetUserExtendedInfo),
                                  slotOf(&E::EnablePublish),
                                  slotOf(&E::EnableSubscribe),
                                  slotOf(&E::EnableExternalRender),
                                  slotOf(&E::EnumAudioCaptureDevice),
                                  slotOf(&E::EnumSpeakerDevice),
                                  slotOf(&E::EnumCameraDevice),
                                  slotOf(&E::EnumScreenAndWindow),
                                  slotOf(&E::SetReconnectResumedMediaType),
                                  slotOf(&E::SetAudioCaptureDevice),
                                  slotOf(&E::SetSpeakerDevice),
                                  slotOf(&E::GetAudioCaptureDeviceVolume),
                                  slotOf(&E::SetAudioCaptureDeviceVolume),
                                  slotOf(&E::GetSpeakerDeviceVolume),
                                  slotOf(&E::SetSpeakerDeviceVolume),
                                  slotOf(&E::StartSpeakerDeviceTest),
                                  slotOf(&E::StopSpeakerDeviceTest),
                                  slotOf(&E::StartAudioDeviceLoopbackTest),
                                  slotOf(&E::StopAudioDeviceLoopbackTest),
                                  slotOf(&E::SetVideoQuality),
                                  slotOf(&E::SetCameraDevice),
                                  slotOf(&E::Reserved26),
                                  slotOf(&E::StartPreview),
                                  slotOf(&E::StopPreview),
                                  slotOf(&E::SetRemoteDefaultVideoStreamType),
                                  slotOf(&E::EnableDualStreamMode),
                                  slotOf(&E::SetRemoteVideoStreamType),
                                  slotOf(&E::EnableAINSMode),
                                  slotOf(&E::JoinRoom),
                                  slotOf(&E::LeaveRoom),
                                  slotOf(&E::SetScreenShareSceneMode),
                                  slotOf(&E::UpdateScreenShareSrcInfo),
                                  slotOf(&E::StartScreenShare),
                                  slotOf(&E::StopScreenShare),
                                  slotOf(&E::EnablePublishAudioStream),
                                  slotOf(&E::EnablePublishVideoStream),
                                  slotOf(&E::EnableSubscribeAudioStream),
                                  slotOf(&E::EnableSubscribeVideoStream),
                                  slotOf(&E::EnableLoopbackRecording),
                                  slotOf(&E::EnableAudioVolumeIndication),
                                  slotOf(&E::TakeSnapshot),
                                  slotOf(&E::MuteAudio),
                                  slotOf(&E::MuteVideo),
                                  slotOf(&E::KickOut),
                                  slotOf(&E::MuteRoom),
                                  slotOf(&E::CloseRoom),
                                  slotOf(&E::GetRoomAttendees),
                                  slotOf(&E::GetRoomInfo),
                                  slotOf(&E::SendCustomMessage),
                                  slotOf(&E::CreateDataChannel),
                                  slotOf(&E::SubscribeData),
                                  slotOf(&E::UnsubscribeData),
                                  slotOf(&E::DeleteDataChannel)};
  EXPECT_EQ(std::size(slots), 58u);
  std::ptrdiff_t expected = 0;
  for (const std::ptrdiff_t slot : slots) EXPECT_EQ(slot, expected++);
}

TEST(EngineInterface, CallbacksHaveTheirSlots) {
  using S = KavrinConferenceEngineEvent;
  const std::ptrdiff_t slots[] = {slotOf(&S::OnRtcStats),
                                  slotOf(&S::OnAudioStateChanged),
                                  slotOf(&S::OnVideoStateChanged),
                                  slotOf(&S::OnActiveSpeaker),
                                  slotOf(&S::OnRoomMemberStateChange),
                                  slotOf(&S::OnRoomStateChange),
                                  slotOf(&S::OnRoomMemberVideoFrame),
                                  slotOf(&S::OnRoomError),
                                  slotOf(&S::OnCustomMessage),
                                  slotOf(&S::OnAudioDeviceStateChange),
                                  slotOf(&S::OnAudioDefaultDeviceChanged),
                                  slotOf(&S::OnVideoDeviceStateChange),
                                  slotOf(&S::OnNetworkQuality),
                                  slotOf(&S::OnSnapshotTaken),
                                  slotOf(&S::OnAudioVolumeIndication),
                                  slotOf(&S::OnAudioDeviceVolumeChanged),
                                  slotOf(&S::OnDataMessageReceived),
                                  slotOf(&S::OnDataChannelStateChanged)};
  EXPECT_EQ(std::size(slots), 18u);
  std::ptrdiff_t expected = 0;
  for (const std::ptrdiff_t slot : slots) EXPECT_EQ(slot, expected++);
}

TEST(EngineInterface, TheObjectsHaveNoVirtualDestructor) {
  EXPECT_FALSE(std::has_virtual_destructor_v<KavrinConferenceEngineEvent>);
  EXPECT_FALSE(std::has_virtual_destructor_v<KavrinConferenceEngine>);
  EXPECT_EQ(sizeof(KavrinConferenceEngineEvent), sizeof(void*));
  EXPECT_EQ(sizeof(KavrinConferenceEngine), sizeof(void*));
}

TEST(EngineInterface, RecordsHaveTheirSizes) {
  EXPECT_EQ(sizeof(AudioDeviceInfo), 524u);
  EXPECT_EQ(sizeof(CameraDeviceInfo), 516u);
  EXPECT_EQ(sizeof(ScreenShareDeviceInfo), 288u);
  EXPECT_EQ(sizeof(KavrinConferenceEngineUser), 32u);
  EXPECT_EQ(sizeof(RtcStatistics), 10u);
  EXPECT_EQ(sizeof(FrameInfo), 20u);
  EXPECT_EQ(sizeof(VideoFrame), 16u);
  EXPECT_EQ(sizeof(ConfRoom), 2 * sizeof(std::string));
}

// Where a field lies in an object of its record.
template <typename Record, typename Field>
std::size_t placeOf(Field Record::*field) {
  const Record record{};
  return static_cast<std::size_t>(reinterpret_cast<const char*>(&(record.*field)) -
                                  reinterpret_cast<const char*>(&record));
}

TEST(EngineInterface, FieldsHaveTheirPlaces) {
  EXPECT_EQ(placeOf(&AudioDeviceInfo::guid), 4u);
  EXPECT_EQ(placeOf(&AudioDeviceInfo::name), 260u);
  EXPECT_EQ(placeOf(&AudioDeviceInfo::isSystemDefault), 516u);
  EXPECT_EQ(placeOf(&AudioDeviceInfo::type), 520u);
  EXPECT_EQ(placeOf(&CameraDeviceInfo::name), 4u);
  EXPECT_EQ(placeOf(&CameraDeviceInfo::guid), 260u);
  EXPECT_EQ(placeOf(&ScreenShareDeviceInfo::type), 4u);
  EXPECT_EQ(placeOf(&ScreenShareDeviceInfo::name), 8u);
  EXPECT_EQ(placeOf(&ScreenShareDeviceInfo::thumbnailWidth), 264u);
  EXPECT_EQ(placeOf(&ScreenShareDeviceInfo::thumbnailHeight), 266u);
  EXPECT_EQ(placeOf(&ScreenShareDeviceInfo::thumbnailData), 272u);
  EXPECT_EQ(placeOf(&ScreenShareDeviceInfo::thumbnailDataLength), 280u);
  EXPECT_EQ(placeOf(&KavrinConferenceEngineUser::m_pUserName), 0u);
  EXPECT_EQ(placeOf(&KavrinConferenceEngineUser::m_pUserId), 8u);
  EXPECT_EQ(placeOf(&KavrinConferenceEngineUser::m_pUserExtInfo), 16u);
  EXPECT_EQ(placeOf(&KavrinConferenceEngineUser::m_audioState), 24u);
  EXPECT_EQ(placeOf(&KavrinConferenceEngineUser::m_cameraState), 25u);
  EXPECT_EQ(placeOf(&KavrinConferenceEngineUser::m_screenShareState), 26u);
  EXPECT_EQ(placeOf(&KavrinConferenceEngineInfo::m_conferenceState), 0u);
  EXPECT_EQ(placeOf(&KavrinConferenceEngineInfo::m_audioState), 4u);
  EXPECT_EQ(placeOf(&KavrinConferenceEngineInfo::m_videoState), 8u);
  EXPECT_EQ(placeOf(&KavrinConferenceEngineInfo::m_shareState), 12u);
  EXPECT_EQ(placeOf(&KavrinConferenceEngineInfo::m_roomId), 16u);
  EXPECT_EQ(placeOf(&VideoOption::deviceId), 0u);
  EXPECT_EQ(placeOf(&VideoOption::deviceType), 4u);
  EXPECT_EQ(placeOf(&VideoOption::left), 8u);
  EXPECT_EQ(placeOf(&VideoOption::top), 12u);
  EXPECT_EQ(placeOf(&VideoOption::width), 16u);
  EXPECT_EQ(placeOf(&VideoOption::height), 20u);
  EXPECT_EQ(placeOf(&VideoOption::resolution), 24u);
  EXPECT_EQ(placeOf(&VideoOption::frameRate), 28u);
  EXPECT_EQ(placeOf(&VideoOption::bitRate), 32u);
  EXPECT_EQ(placeOf(&VideoOption::excludedWindows), 40u);
}

}  // namespace
