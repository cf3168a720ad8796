#include "formats/audio/audio.h"
#include "formats/audio/raw.h"
#include "formats/dls/dls.h"
#include "formats/midi/midi.h"
#include "formats/sfz/sfz.h"
#include "formats/soundfont/soundfont.h"
#include "formats/wave/wave.h"
#include "io/registry.h"

namespace vemko::io {
namespace {

constexpr KindMask kWaveform = kindBit(ItemKind::Waveform);
constexpr KindMask kSong = kindBit(ItemKind::Song) | kindBit(ItemKind::Track);
constexpr KindMask kSongAndBank = kindBit(ItemKind::Song) | kindBit(ItemKind::Collection);
constexpr KindMask kInstrument = kindBit(ItemKind::Instrument);
constexpr KindMask kBank = kindBit(ItemKind::Instrument) | kindBit(ItemKind::Collection);

// clang-format off
// In the order of extensions, the catch-all first; of several readers that fit equally well the first one wins.
constexpr FormatEntry kRows[] = {
  {u"*",    audio::readRaw,     nullptr,             audio::probeAny,          u"Unrecognized",                         kWaveform, 0,                                             0,                   nullptr},
  {u"aif",  audio::readSndfile, audio::writeAiff,    audio::probeSndfile,      u"Audio interchange",                    kWaveform, audio::sndfileCapabilities(audio::kAiff),      audio::kAiff,        nullptr,                      audio::missingForReading},
  {u"aiff", audio::readSndfile, audio::writeAiff,    audio::probeSndfile,      u"Audio interchange (aiff)",             kWaveform, audio::sndfileCapabilities(audio::kAiff),      audio::kAiff,        nullptr,                      audio::missingForReading},
  {u"aifc", audio::readSndfile, audio::writeAiff,    audio::probeSndfile,      u"Audio interchange, compressed",        kWaveform, audio::sndfileCapabilities(audio::kAifc),      audio::kAifc,        nullptr,                      audio::missingForReading},
  {u"au",   audio::readSndfile, audio::writeSndfile, audio::probeSndfile,      u"Sun/NeXT/DEC audio",                   kWaveform, audio::sndfileCapabilities(audio::kAu),        audio::kAu,          nullptr,                      audio::missingForSndfile},
  {u"avr",  audio::readSndfile, audio::writeSndfile, audio::probeSndfile,      u"Audio Visual Research",                kWaveform, audio::sndfileCapabilities(audio::kAvr),       audio::kAvr,         nullptr,                      audio::missingForSndfile},
  {u"bwf",  wave::readWave,     nullptr,             wave::probeBroadcastWave, u"Broadcast wave",                       kWaveform, 0,                                             0,                   nullptr},
  {u"caf",  audio::readSndfile, audio::writeSndfile, audio::probeSndfile,      u"Apple CoreAudio",                      kWaveform, audio::sndfileCapabilities(audio::kCoreAudio), audio::kCoreAudio,   nullptr,                      audio::missingForSndfile},
  {u"caff", audio::readSndfile, audio::writeSndfile, audio::probeSndfile,      u"Apple CoreAudio (caff)",               kWaveform, audio::sndfileCapabilities(audio::kCoreAudio), audio::kCoreAudio,   nullptr,                      audio::missingForSndfile},
  {u"dls",  dls::readCollection, nullptr,            dls::probeCollection,     u"DownLoadable Sounds",                  kBank,     0,                                             0,                   nullptr},
  {u"dls",  nullptr,            dls::writeCollection, nullptr,                u"DownLoadable Sounds level 1",           kBank,     dls::kLevel1Capabilities,                       1,                   nullptr},
  {u"dls",  nullptr,            dls::writeCollection, nullptr,                u"DownLoadable Sounds level 2",           kBank,     dls::kLevel2Capabilities,                       2,                   nullptr},
  {u"dls",  nullptr,            dls::writeCollection, nullptr,                u"DownLoadable Sounds level 2+",          kBank,     dls::kLevel2PlusCapabilities,                   3,                   nullptr},
  {u"dls",  nullptr,            dls::writeCollection, nullptr,                u"DownLoadable Sounds level 2++",         kBank,     dls::kLevel2PlusCapabilities,                   4,                   nullptr},
  {u"flac", audio::readFlac,    audio::writeFlac,    audio::probeFlac,         u"Free lossless audio codec (default)",  kWaveform, audio::kFlacCapabilities,                      0,                   nullptr,                      audio::missingForFlac},
  {u"flac", nullptr,            audio::writeFlac,    nullptr,                  u"Free lossless audio codec (max comp)", kWaveform, audio::kFlacCapabilities,                      1,                   nullptr,                      audio::missingForFlac},
  {u"gsm",  audio::readRawGsm,  audio::writeRawGsm,  audio::probeRawGsm,       u"Raw GSM 06.10",                        kWaveform, audio::kGsmCapabilities,                       0,                   nullptr,                      audio::missingForGsm},
  {u"gsm",  wave::readWave,     nullptr,             wave::probeUsrGsm,        u"USR GSM with header",                  kWaveform, 0,                                             0,                   nullptr,                      audio::missingForGsm},
  {u"iff",  audio::readIff,     audio::writeIff,     audio::probeIff,          u"Amiga IFF",                            kWaveform, audio::kIffCapabilities,                       0,                   nullptr},
  {u"mid",  midi::readFile,     midi::writeFile,     midi::probeFile,          u"Standard MIDI file (SMF)",             kSong,     kMidiEvents,                               midi::kOwnFormat,    nullptr},
  {u"mid",  nullptr,            midi::writeFile,     nullptr,                  u"Standard MIDI file (SMF) format 0",    kSong,     kMidiEvents,                               midi::kSingleTrack,  nullptr},
  {u"mid",  nullptr,            midi::writeFile,     nullptr,                  u"Standard MIDI file (SMF) format 1",    kSong,     kMidiEvents,                               midi::kParallelTracks, nullptr},
  {u"mp1",  audio::readMpeg,    nullptr,             audio::probeMpeg,         u"MPEG layer I",                         kWaveform, 0,                                             1,                   nullptr,                      audio::missingForMpeg},
  {u"mp2",  audio::readMpeg,    nullptr,             audio::probeMpeg,         u"MPEG layer II",                        kWaveform, 0,                                             2,                   nullptr,                      audio::missingForMpeg},
  {u"mp3",  audio::readMpeg,    nullptr,             audio::probeMpeg,         u"MPEG layer III",                       kWaveform, 0,                                             3,                   nullptr,                      audio::missingForMpeg},
  {u"mp3",  nullptr,            audio::writeMp3,     nullptr,                  u"MPEG layer III - CBR",                 kWaveform, audio::kCodecCapabilities,                     audio::kMp3Constant, audio::describeMp3Setting,    audio::missingForMpeg},
  {u"mp3",  nullptr,            audio::writeMp3,     nullptr,                  u"MPEG layer III - ABR",                 kWaveform, audio::kCodecCapabilities,                     audio::kMp3Average,  audio::describeMp3Setting,    audio::missingForMpeg},
  {u"mp3",  nullptr,            audio::writeMp3,     nullptr,                  u"MPEG layer III - VBR",                 kWaveform, audio::kCodecCapabilities,                     audio::kMp3Variable, audio::describeMp3Setting,    audio::missingForMpeg},
  {u"mpa",  audio::readMpeg,    nullptr,             audio::probeMpeg,         u"MPEG audio",                           kWaveform, 0,                                             0,                   nullptr,                      audio::missingForMpeg},
  {u"nist", audio::readSndfile, audio::writeSndfile, audio::probeSndfile,      u"NIST Sphere",                          kWaveform, audio::sndfileCapabilities(audio::kNist),      audio::kNist,        nullptr,                      audio::missingForSndfile},
  {u"ogg",  audio::readVorbis,  audio::writeVorbis,  audio::probeVorbis,       u"Ogg Vorbis",                           kWaveform, audio::kCodecCapabilities,                     0,                   audio::describeVorbisSetting, audio::missingForVorbis},
  {u"opus", audio::readOpus,    audio::writeOpus,    audio::probeOpus,         u"Opus",                                 kWaveform, audio::kCodecCapabilities,                     0,                   audio::describeOpusSetting,   audio::missingForOpus},
  {u"paf",  audio::readSndfile, audio::writeSndfile, audio::probeSndfile,      u"Ensoniq PARIS",                        kWaveform, audio::sndfileCapabilities(audio::kParis),     audio::kParis,       nullptr,                      audio::missingForSndfile},
  {u"rmi",  midi::readRiffMidi, midi::writeRiffMidi, midi::probeRiffMidi,      u"RIFF-MIDI",                            kSongAndBank, kMidiEvents,                            midi::kWithoutBank,  nullptr},
  {u"rmi",  nullptr,            midi::writeRiffMidi, nullptr,                  u"RIFF-MIDI w DLS level 1 instruments",  kSongAndBank, kMidiEvents | dls::kLevel1Capabilities, midi::kWithLevel1,   nullptr},
  {u"rmi",  nullptr,            midi::writeRiffMidi, nullptr,                  u"RIFF-MIDI w DLS level 2 instruments",  kSongAndBank, kMidiEvents | dls::kLevel1Capabilities, midi::kWithLevel2,   nullptr},
  {u"sds",  wave::readWave,     nullptr,             wave::probeSmartSound,    u"SmartSound SDS",                       kWaveform, 0,                                             0,                   nullptr},
  {u"sf",   audio::readSndfile, audio::writeSndfile, audio::probeSndfile,      u"IRCAM sound",                          kWaveform, audio::sndfileCapabilities(audio::kIrcam),     audio::kIrcam,       nullptr,                      audio::missingForSndfile},
  {u"sf2", soundfont::readBank, soundfont::writeBank, soundfont::probeBank, u"SoundFont v2 bank", kBank, soundfont::kCapabilities, 0, nullptr},
  {u"sf2pack", soundfont::readBank, nullptr, soundfont::probePackedBank, u"sf2pack", kBank, 0, 0, nullptr},
  {u"sf3", soundfont::readBank, soundfont::writeBank, soundfont::probeCompressedBank, u"Compressed SoundFont", kBank, soundfont::kCompressedCapabilities, soundfont::kCompressedVariant, soundfont::describeSetting, soundfont::missingLibraries},
  {u"sfark", soundfont::readArchive, nullptr, soundfont::probeArchive, u"sfArk archive", kBank, 0, 0, nullptr, soundfont::missingForArchive},
  {u"sfz", sfz::readSfz, nullptr, sfz::probeSfz, u"SFZ instrument", kInstrument, 0, 0, nullptr},
  {u"sfz", nullptr, sfz::writeSfz, nullptr, u"rgc:audio SFZ v1 (waves in same folder)", kInstrument, sfz::kCapabilities, 0, nullptr},
  {u"sfz", nullptr, sfz::writeSfz, nullptr, u"rgc:audio SFZ v1 (waves in sub-folder)", kInstrument, sfz::kCapabilities, sfz::kSubFolder, nullptr},
  {u"sfz", nullptr, sfz::writeSfz, nullptr, u"Cakewalk SFZ v2 (waves in same folder)", kInstrument, sfz::kCapabilities, sfz::kVersion2, nullptr},
  {u"sfz", nullptr, sfz::writeSfz, nullptr, u"Cakewalk SFZ v2 (waves in sub-folder)", kInstrument, sfz::kCapabilities, sfz::kVersion2 | sfz::kSubFolder, nullptr},
  {u"snd",  audio::readSndfile, audio::writeSndfile, audio::probeSndfile,      u"Sun/NeXT/DEC audio (snd)",             kWaveform, audio::sndfileCapabilities(audio::kAu),        audio::kAu,          nullptr,                      audio::missingForSndfile},
  {u"svx",  audio::readIff,     audio::writeIff,     audio::probeIff,          u"Amiga 8SVX",                           kWaveform, audio::kIffCapabilities,                       0,                   nullptr},
  {u"voc",  audio::readSndfile, audio::writeVoc,     audio::probeSndfile,      u"Creative voice",                       kWaveform, audio::sndfileCapabilities(audio::kVoc),       audio::kVoc,         nullptr,                      audio::missingForReading},
  {u"w64",  audio::readSndfile, audio::writeSndfile, audio::probeSndfile,      u"Wave-64",                              kWaveform, audio::sndfileCapabilities(audio::kWave64),    audio::kWave64,      nullptr,                      audio::missingForSndfile},
  {u"wav",  wave::readWave,     wave::writeWave,     wave::probeWave,          u"Microsoft wave",                       kWaveform, wave::kCapabilities,                           0,                   audio::describeMp3Setting},
  {u"wav",  wave::readBigEndianWave, nullptr,        wave::probeBigEndianWave, u"Microsoft wave (big-endian)",          kWaveform, 0,                                             0,                   nullptr},
  {u"wav",  wave::readWave,     nullptr,             wave::probeBroadcastWave, u"Broadcast wave",                       kWaveform, 0,                                             0,                   nullptr},
  {u"wv",   audio::readWavpack, audio::writeWavpack, audio::probeWavpack,      u"WavPack",                              kWaveform, audio::kWavpackCapabilities,                   0,                   nullptr,                      audio::missingForWavpack},
};
// clang-format on
#ifndef __SANITIZE_ADDRESS__  // whose code compares no function with null before it runs
static_assert(rowsAreSound(kRows));
#endif

}  // namespace

std::span<const FormatEntry> formatTable() { return kRows; }

}  // namespace vemko::io
