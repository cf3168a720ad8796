#include <algorithm>

#include "app/app_settings.h"
#include "core/history.h"
#include "formats/audio/audio.h"
#include "formats/riff/description.h"
#include "io/fixup.h"

namespace vemko::app {
namespace {

template <class T, class... List>
inline constexpr bool kIsOneOf = (std::is_same_v<T, List> || ...);

/// A member of a record that a function gives access to.
template <auto record, auto member>
struct Field {
  using Type = std::remove_cvref_t<decltype(record().*member)>;
  static constexpr bool kIsOpaque =
      !kIsOneOf<Type, bool, std::uint8_t, std::int32_t, std::uint32_t, float, std::u16string,
                std::vector<std::u16string>, std::optional<ScreenPair>, std::vector<std::uint16_t>>;

  static FieldRef refer() {
    auto& value = record().*member;
    if constexpr (kIsOpaque) {
      return std::as_writable_bytes(std::span(&value, 1));
    } else {
      return &value;
    }
  }

  static constexpr bool fits(Storage storage, std::uint32_t size) {
    if constexpr (kIsOneOf<Type, bool, std::uint8_t>) return storage == Storage::Binary && size == 1;
    if constexpr (kIsOneOf<Type, std::int32_t, std::uint32_t, float>) return storage == Storage::Dword;
    if constexpr (kIsOneOf<Type, std::u16string>) return storage == Storage::String;
    if constexpr (kIsOneOf<Type, std::optional<ScreenPair>>) return storage == Storage::Binary && size == 8;
    if constexpr (kIsOpaque) return std::is_trivially_copyable_v<Type> && size == sizeof(Type);
    return storage == Storage::Binary;
  }
};

template <auto record, auto member>
inline constexpr Field<record, member> field{};

template <class F>
consteval SettingRow row(std::string_view name, Storage storage, std::uint32_t size,
                         std::u16string_view initial, std::u16string_view meaning, F,
                         std::int64_t minimum = std::numeric_limits<std::int64_t>::min()) {
  if (!F::fits(storage, size)) throw "the field cannot be stored so";
  return {name, storage, size, initial, meaning, &F::refer, minimum};
}

constexpr Storage B = Storage::Binary, D = Storage::Dword, S = Storage::String;
constexpr std::uint32_t kMaxListBytes = 32768;
constexpr std::int64_t kMinPaneWidth = 17;

ShellSettings& app() { return appSettings().shell; }
AudioSettings& aio() { return appSettings().audio; }
DisplaySettings& viz() { return appSettings().display; }
SampleDumpSettings& sds() { return appSettings().sampleDump; }
DiscSettings& cds() { return appSettings().disc; }
RenderSettings& render() { return appSettings().render; }
FormatSettings& fmt() { return appSettings().formats; }
BatchSettings& batch() { return appSettings().batch; }
using io::fixupOptions;
using Fix = io::FixupOptions;

// clang-format off
constexpr SettingRow kRows[] = {
  // name, storage, size, default, meaning, field
  row("VersionNumber",               S, 0, u"0.0", u"newest version of the program that has run", field<app, &ShellSettings::version>),
  row("app.LastFilesW",              B, kMaxListBytes, u"", u"files used last, newest first", field<app, &ShellSettings::lastFiles>),
  row("app.LastPathInW",             S, 0, u"", u"folder opened from last", field<app, &ShellSettings::lastPathIn>),
  row("app.LastPathOutW",            S, 0, u"", u"folder saved to last", field<app, &ShellSettings::lastPathOut>),
  row("app.SaveFmt",                 B, 10, u"00 00 00 00 00 00 00 00 00 00", u"format to save each kind of item in", field<app, &ShellSettings::saveFormats>),
  row("app.ptLastPos",               B, 8, u"", u"position of the main window", field<app, &ShellSettings::windowPosition>),
  row("app.ptLastSize",              B, 8, u"", u"size of the main window", field<app, &ShellSettings::windowSize>),
  row("app.iPaneSplitL",             D, 4, u"221", u"width of the left pane in pixels", field<app, &ShellSettings::leftPaneWidth>, kMinPaneWidth),
  row("app.awColWidths",             B, 10, u"dc 00 50 00 50 00 46 00 5a 00", u"column widths of the waveform list", field<app, &ShellSettings::waveformColumnWidths>),
  row("app.bCheckForUpdates",        B, 1, u"255", u"look for updates at start; 255: not decided yet", field<app, &ShellSettings::checkForUpdates>),
  row("app.bDispBankPrgs",           B, 1, u"1", u"show bank and program numbers", field<app, &ShellSettings::showBankProgram>),
  row("app.bDispLoBank",             B, 1, u"0", u"show the low byte of the bank", field<app, &ShellSettings::showLowBank>),
  row("app.bAutoSelWaveforms",       B, 1, u"1", u"selecting an instrument selects its waveforms", field<app, &ShellSettings::autoSelectWaveforms>),
  row("app.bAutoSelCollItems",       B, 1, u"0", u"selecting in the collection selects sub-items", field<app, &ShellSettings::autoSelectSubItems>),
  row("app.bPropagateDownDelta",     B, 1, u"0", u"apply edits of a level to the levels below as differences", field<app, &ShellSettings::propagateDeltas>),
  row("app.bPersistentState",        B, 1, u"0", u"reopen the last session at start", field<app, &ShellSettings::reopenLastSession>),
  row("app.bShowNoteNames",          B, 1, u"1", u"show note names instead of numbers", field<app, &ShellSettings::showNoteNames>),
  row("app.bMidIsNamedC3",           B, 1, u"0", u"name MIDI note 60 C3 instead of C4", field<app, &ShellSettings::middleCIsC3>),
  row("app.bAsyncWaveLoad",          B, 1, u"1", u"load sample data in the background", field<app, &ShellSettings::asyncWaveLoad>),
  row("app.eDarkMode",               B, 1, u"0", u"colour scheme: 0 as the system, 1 light, 2 dark", field<app, &ShellSettings::darkMode>),
  row("load.bConfirm",               B, 1, u"0", u"ask for the fix-up steps after loading", field<app, &ShellSettings::confirmFixup>),
  row("load.bAutoSplitStereo",       B, 1, u"0", u"fix-up: split stereo waveforms", field<fixupOptions, &Fix::splitStereo>),
  row("load.bAutoMergeStereo",       B, 1, u"1", u"fix-up: merge pairs of mono waveforms into stereo", field<fixupOptions, &Fix::mergeStereo>),
  row("load.bAutoCompactLayers",     B, 1, u"1", u"fix-up: compact layers", field<fixupOptions, &Fix::compactLayers>),
  row("load.bAutoRemoveDupWaves",    B, 1, u"1", u"fix-up: remove duplicate waveforms", field<fixupOptions, &Fix::removeDuplicateWaves>),
  row("load.bAutoMoveArticulation",  B, 1, u"0", u"fix-up: move articulation to the best level", field<fixupOptions, &Fix::moveArticulation>),
  row("load.bAutoMoveTriggerParams", B, 1, u"1", u"fix-up: move trigger parameters", field<fixupOptions, &Fix::moveTriggerParameters>),
  row("load.bAutoAppend32",          B, 1, u"0", u"fix-up: append 32 samples after loops", field<fixupOptions, &Fix::append32>),
  row("load.bAutoBid2Fwd",           B, 1, u"0", u"fix-up: turn bidirectional loops into forward loops", field<fixupOptions, &Fix::bidirectionalToForward>),
  row("load.bAutoSortColl",          B, 1, u"1", u"fix-up: sort the collection", field<fixupOptions, &Fix::sortCollection>),
  row("load.bAutoSortWaves",         B, 1, u"1", u"fix-up: sort waveforms", field<fixupOptions, &Fix::sortWaves>),
  row("load.bEnsureUniqueNames",     B, 1, u"1", u"fix-up: make the names of items unique", field<fixupOptions, &Fix::ensureUniqueNames>),
  row("aio.szAudioOutDev",           S, 64, u"Windows default", u"audio output device", field<aio, &AudioSettings::outDevice>),
  row("aio.bAudioOutExclusive",      B, 1, u"0", u"use the output device exclusively", field<aio, &AudioSettings::outExclusive>),
  row("aio.cAudioOutFormat",         B, 1, u"16", u"bits of an output sample", field<aio, &AudioSettings::outBits>),
  row("aio.cAudioOutChannels",       B, 1, u"2", u"output channels", field<aio, &AudioSettings::outChannels>),
  row("aio.szAudioOutSampleRate",    D, 4, u"48000", u"output sample rate in Hz", field<aio, &AudioSettings::outSampleRate>),
  row("aio.szAudioInDev",            S, 64, u"Windows default", u"audio input device", field<aio, &AudioSettings::inDevice>),
  row("aio.bAudioInExclusive",       B, 1, u"0", u"use the input device exclusively", field<aio, &AudioSettings::inExclusive>),
  row("aio.cAudioInFormat",          B, 1, u"16", u"bits of an input sample", field<aio, &AudioSettings::inBits>),
  row("aio.cAudioInChannels",        B, 1, u"2", u"input channels", field<aio, &AudioSettings::inChannels>),
  row("aio.bAudioInAGC",             B, 1, u"1", u"automatic gain control of the input", field<aio, &AudioSettings::inGainControl>),
  row("aio.bAudioInMono",            B, 1, u"0", u"record in mono", field<aio, &AudioSettings::inMono>),
  row("aio.szAudioInSampleRate",     D, 4, u"48000", u"input sample rate in Hz", field<aio, &AudioSettings::inSampleRate>),
  row("aio.bMidiInEnable",           B, 1, u"1", u"listen to MIDI input", field<aio, &AudioSettings::midiInEnabled>),
  row("aio.szMidiInDev",             S, 32, u"", u"MIDI input device", field<aio, &AudioSettings::midiInDevice>),
  row("aio.nLatency",                D, 4, u"-1", u"output latency; -1: automatic", field<aio, &AudioSettings::latency>),
  row("aio.fdbMixGain",              D, 4, u"0", u"gain of the mix in dB", field<aio, &AudioSettings::mixGainDb>),
  row("aio.fdbWaveGain",             D, 4, u"0", u"gain of waveforms that are auditioned in dB", field<aio, &AudioSettings::waveGainDb>),
  row("aio.bEnable",                 B, 1, u"0", u"run the audio engine", field<aio, &AudioSettings::enabled>),
  row("aio.bVKeyboard",              B, 1, u"1", u"show the virtual keyboard", field<aio, &AudioSettings::showKeyboard>),
  row("aio.bPlayWaveOnClick",        B, 1, u"1", u"play a waveform when it is clicked", field<aio, &AudioSettings::playWaveOnClick>),
  row("aio.bPlayCollOnClick",        B, 1, u"0", u"play an item of the collection when it is clicked", field<aio, &AudioSettings::playItemOnClick>),
  row("aio.bMidiRecAudition",        B, 1, u"1", u"audition while recording MIDI", field<aio, &AudioSettings::auditionWhileRecording>),
  row("aio.bMidiRecMetronome",       B, 1, u"0", u"metronome while recording MIDI", field<aio, &AudioSettings::metronomeWhileRecording>),
  row("viz.bWaveDispFill",           B, 1, u"1", u"fill the waveform display", field<viz, &DisplaySettings::fillWaveform>),
  row("viz.bWaveDispSplit",          B, 1, u"0", u"show channels apart", field<viz, &DisplaySettings::splitChannels>),
  row("viz.bTrackInEditor",          B, 1, u"1", u"show the track in the editor", field<viz, &DisplaySettings::trackInEditor>),
  row("viz.bSpectrum",               B, 1, u"0", u"show the spectrum", field<viz, &DisplaySettings::spectrum>),
  row("viz.bChannels",               B, 1, u"0", u"show the channels", field<viz, &DisplaySettings::channels>),
  row("sds.szOutDev",                S, 32, u"", u"MIDI device that sample dumps go to", field<sds, &SampleDumpSettings::outDevice>),
  row("sds.szInDev",                 S, 32, u"", u"MIDI device that sample dumps come from", field<sds, &SampleDumpSettings::inDevice>),
  row("sds.iOutChannel",             D, 4, u"0", u"channel of sample dumps sent", field<sds, &SampleDumpSettings::outChannel>),
  row("sds.iInChannel",              D, 4, u"-1", u"channel of sample dumps received; -1: any", field<sds, &SampleDumpSettings::inChannel>),
  row("sds.iOutBits",                D, 4, u"0", u"bits of sample dumps sent; 0: as the waveform", field<sds, &SampleDumpSettings::outBits>),
  row("cds.iCDDev",                  D, 4, u"0", u"number of the CD drive", field<cds, &DiscSettings::drive>),
  row("cds.bReplaceColl",            B, 1, u"1", u"reading a CD replaces the collection", field<cds, &DiscSettings::replaceCollection>),
  row("app.wszWave",                 S, 0, u"", u"external editor for waveforms", field<app, &ShellSettings::waveEditor>),
  row("app.wszMidi",                 S, 0, u"", u"external editor for songs", field<app, &ShellSettings::midiEditor>),
  row("app.szVSTPaths",              S, 0, u"", u"folders searched for plug-ins", field<app, &ShellSettings::pluginFolders>),
  row("sall.iMode",                  D, 4, u"214", u"mode of the command that saves all", field<app, &ShellSettings::saveAllMode>),
  row("sy2wt.dwSampleRate",          D, 4, u"48000", u"synth to waveform: sample rate in Hz", field<render, &RenderSettings::synthSampleRate>),
  row("sy2wt.dwmsMaxLength",         D, 4, u"2000", u"synth to waveform: longest in ms", field<render, &RenderSettings::synthMaxLengthMs>),
  row("sy2wt.dwmsMinLength",         D, 4, u"250", u"synth to waveform: shortest in ms", field<render, &RenderSettings::synthMinLengthMs>),
  row("sy2wt.iNumWaves",             D, 4, u"1", u"synth to waveform: number of waveforms", field<render, &RenderSettings::synthWaveCount>),
  row("mid2wav.dwSampleRate",        D, 4, u"48000", u"song to waveform: sample rate in Hz", field<render, &RenderSettings::songSampleRate>),
  row("mid2wav.bEffects",            B, 1, u"1", u"song to waveform: with effects", field<render, &RenderSettings::songEffects>),
  row("mid2wav.bDeleteSrc",          B, 1, u"0", u"song to waveform: delete the song afterwards", field<render, &RenderSettings::songDeleteSource>),
  row("mid2wav.bNormalizePeak",      B, 1, u"1", u"song to waveform: normalise the peak", field<render, &RenderSettings::songNormalizePeak>),
  row("mid2wav.bDeleteSilence",      B, 1, u"1", u"song to waveform: delete silence at the end", field<render, &RenderSettings::songDeleteSilence>),
  row("mid2wav.wszGMBank",           S, 0, u"", u"song to waveform: General MIDI bank", field<render, &RenderSettings::songBank>),
  row("mid2wav.iMaxPolyphony",       D, 4, u"128", u"song to waveform: most voices at once", field<render, &RenderSettings::songMaxPolyphony>),
  row("fmt.aac.bWriteAPE",           B, 1, u"0", u"AAC: write an APE tag", field<fmt, &FormatSettings::aacApeTag>),
  row("fmt.aac.bWriteID3",           B, 1, u"0", u"AAC: write an ID3 tag", field<fmt, &FormatSettings::aacId3Tag>),
  row("fmt.aac.bWriteMS",            B, 1, u"1", u"AAC: code mid and side", field<fmt, &FormatSettings::aacMidSide>),
  row("fmt.mp2.bWriteID3",           B, 1, u"0", u"MP2: write an ID3 tag", field<fmt, &FormatSettings::mp2Id3Tag>),
  row("fmt.mp2.bWriteJS",            B, 1, u"1", u"MP2: joint stereo", field<fmt, &FormatSettings::mp2JointStereo>),
  row("fmt.mp3.bWriteAPE",           B, 1, u"0", u"MP3: write an APE tag", field<audio::options, &audio::Options::mp3ApeTag>),
  row("fmt.mp3.bWriteID3",           B, 1, u"1", u"MP3: write an ID3 tag", field<audio::options, &audio::Options::mp3Id3Tag>),
  row("fmt.mp3.bWriteJS",            B, 1, u"1", u"MP3: joint stereo", field<audio::options, &audio::Options::mp3JointStereo>),
  row("fmt.sd2.bReadAsk",            B, 1, u"1", u"Sound Designer II: ask for the data format", field<fmt, &FormatSettings::sd2Ask>),
  row("fmt.sd2.dwSampleRate",        D, 4, u"44100", u"Sound Designer II: sample rate in Hz", field<fmt, &FormatSettings::sd2SampleRate>),
  row("fmt.sd2.iBits",               D, 4, u"16", u"Sound Designer II: bits", field<fmt, &FormatSettings::sd2Bits>),
  row("fmt.sd2.iChannels",           D, 4, u"2", u"Sound Designer II: channels", field<fmt, &FormatSettings::sd2Channels>),
  row("fmt.vox.bReadAsk",            B, 1, u"1", u"VOX: ask for the data format", field<fmt, &FormatSettings::voxAsk>),
  row("fmt.vox.dwDataFormat",        D, 4, u"134225920", u"VOX: packed word of the data format", field<fmt, &FormatSettings::voxDataFormat>),
  row("fmt.wav.bNoLoopOff",          B, 1, u"1", u"WAV: do not write loops that are off", field<riff::options, &riff::Options::noLoopOff>),
  row("batch.options",               B, 24, u"00 00 00 00 00 00 00 00 00 00 00 00 01 00 00 00 01 00 00 00 00 00 00 00", u"choices of a batch conversion", field<batch, &BatchSettings::options>),
  row("batch.SaveFmts",              B, kMaxListBytes, u"", u"target formats of a batch conversion", field<batch, &BatchSettings::formats>),
  row("app.iPaneSplitT",             D, 4, u"0", u"height of the waveform list in pixels; 0: a share of the window", field<app, &ShellSettings::listHeight>),
  row("app.iUndoMemory",             D, 4, u"256", u"memory for undo in MiB", field<historyOptions, &HistoryOptions::memoryMiB>),
};
// clang-format on

}  // namespace

AppSettings& appSettings() {
  static AppSettings settings;
  return settings;
}

std::span<const SettingRow> settingRows() { return kRows; }

const SettingRow* findSetting(std::string_view name) {
  auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  for (const SettingRow& row : kRows)
    if (std::equal(row.name.begin(), row.name.end(), name.begin(), name.end(),
                   [&](char a, char b) { return lower(a) == lower(b); }))
      return &row;
  return nullptr;
}

}  // namespace vemko::app
