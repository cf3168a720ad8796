#pragma once
// Settings of the application itself, and of what has no room of its own yet. Where nothing else is said, a
// member means what its row in the table says.
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/settings.h"

namespace vemko::app {

struct ShellSettings {
  std::u16string version = u"0.0";  ///< The newest program version that has run for this user.
  /// Newest first. Stored as UTF-16 names, each ended by a zero; names that no longer fit are left out.
  std::vector<std::u16string> lastFiles;
  std::u16string lastPathIn;
  std::u16string lastPathOut;
  /// Keys of the chosen formats, see save_formats.h, for waveforms, instruments, songs and collections; 0 is
  /// the built-in choice. The fifth is kept 0.
  std::array<std::uint16_t, 5> saveFormats{};
  std::optional<ScreenPair> windowPosition;
  std::optional<ScreenPair> windowSize;
  std::int32_t leftPaneWidth = 221;
  std::int32_t listHeight = 0;  ///< Of the waveform list, 0: a share of the window.
  /// In pixels: name, length, sample rate, channels, root key.
  std::array<std::uint16_t, 5> waveformColumnWidths{220, 80, 80, 70, 90};
  std::uint8_t checkForUpdates = 0xFF;  ///< 0 no, 1 yes, 255 the user has not been asked.
  bool showBankProgram = true;
  bool showLowBank = false;
  bool autoSelectWaveforms = true;
  bool autoSelectSubItems = false;
  bool propagateDeltas = false;
  bool reopenLastSession = false;
  bool showNoteNames = true;
  bool middleCIsC3 = false;
  bool asyncWaveLoad = true;
  std::uint8_t darkMode = 0;  ///< 0 as the system, 1 light, 2 dark.
  bool confirmFixup = false;
  std::u16string waveEditor;
  std::u16string midiEditor;
  std::u16string pluginFolders;
  std::int32_t saveAllMode = 214;
};

struct AudioSettings {
  std::u16string outDevice = u"Windows default";
  bool outExclusive = false;
  std::uint8_t outBits = 16;
  std::uint8_t outChannels = 2;
  std::uint32_t outSampleRate = 48000;
  std::u16string inDevice = u"Windows default";
  bool inExclusive = false;
  std::uint8_t inBits = 16;
  std::uint8_t inChannels = 2;
  bool inGainControl = true;
  bool inMono = false;
  std::uint32_t inSampleRate = 48000;
  bool midiInEnabled = true;
  std::u16string midiInDevice;
  std::int32_t latency = -1;  ///< -1: automatic.
  float mixGainDb = 0;        ///< 0 dB: full scale stays full scale, and a limiter is the engine's affair.
  float waveGainDb = 0;
  bool enabled = false;
  bool showKeyboard = true;
  bool playWaveOnClick = true;
  bool playItemOnClick = false;
  bool auditionWhileRecording = true;
  bool metronomeWhileRecording = false;
};

struct DisplaySettings {
  bool fillWaveform = true;
  bool splitChannels = false;
  bool trackInEditor = true;
  bool spectrum = false;
  bool channels = false;
};

struct SampleDumpSettings {
  std::u16string outDevice;
  std::u16string inDevice;
  std::int32_t outChannel = 0;
  std::int32_t inChannel = -1;  ///< -1: any.
  std::int32_t outBits = 0;     ///< 0: as the waveform.
};

struct DiscSettings {
  std::int32_t drive = 0;
  bool replaceCollection = true;
};

struct RenderSettings {
  std::uint32_t synthSampleRate = 48000;
  std::uint32_t synthMaxLengthMs = 2000;
  std::uint32_t synthMinLengthMs = 250;
  std::int32_t synthWaveCount = 1;
  std::uint32_t songSampleRate = 48000;
  bool songEffects = true;
  bool songDeleteSource = false;
  bool songNormalizePeak = true;
  bool songDeleteSilence = true;
  std::u16string songBank;
  std::int32_t songMaxPolyphony = 128;
};

struct FormatSettings {
  bool aacApeTag = false;
  bool aacId3Tag = false;
  bool aacMidSide = true;
  bool mp2Id3Tag = false;
  bool mp2JointStereo = true;
  bool sd2Ask = true;
  std::uint32_t sd2SampleRate = 44100;
  std::int32_t sd2Bits = 16;
  std::int32_t sd2Channels = 2;
  bool voxAsk = true;
  std::uint32_t voxDataFormat = 0x8002000;
};

/// Choices of a batch conversion, stored as they stand here: six little-endian words.
struct BatchOptions {
  std::uint32_t requested = 0;   ///< Encoding and channel bits as in io::SaveOptions.
  std::uint32_t setting = 0;     ///< Index of the compression setting.
  std::uint32_t kind = 0;        ///< 0: what the target holds best, else the item kind plus one.
  std::uint32_t onExists = 1;    ///< 0 overwrite, 1 rename, 2 skip, 3 fail.
  std::uint32_t subfolders = 1;  ///< 0: the folder alone, 1: with subfolders, 2: rebuilt below the target.
  std::uint32_t workers = 0;     ///< 0: one for each processor.
};

struct BatchSettings {
  BatchOptions options;
  std::vector<std::uint16_t> formats;  ///< Keys of the target formats; none: as for saving.
};

struct AppSettings {
  ShellSettings shell;
  AudioSettings audio;
  DisplaySettings display;
  SampleDumpSettings sampleDump;
  DiscSettings disc;
  RenderSettings render;
  FormatSettings formats;
  BatchSettings batch;

  /// Version that ran before this one as major * 100 + minor, 0 on the first run; set by loadSettings().
  std::int64_t lastVersion = 0;
};

/// The settings in force.
AppSettings& appSettings();

}  // namespace vemko::app
