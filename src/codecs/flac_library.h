#pragma once
// The functions of libFLAC that decoding and encoding use.
#include <FLAC/metadata.h>
#include <FLAC/stream_decoder.h>
#include <FLAC/stream_encoder.h>

#include "codecs/codec_library.h"

namespace vemko::flac {

inline constexpr LibraryNames kLibrary = {
    u"libFLAC",
    u"Debian package libflac12, Windows libFLAC.dll",
    {"libFLAC.so.12", "libFLAC.so.14", "libFLAC-12.dll", "libFLAC-14.dll", "libFLAC.dll"}};

// clang-format off
struct Functions {
  CodecLibrary library{kLibrary};

  decltype(&FLAC__stream_decoder_new) decoderNew = library.find("FLAC__stream_decoder_new");
  decltype(&FLAC__stream_decoder_delete) decoderDelete = library.find("FLAC__stream_decoder_delete");
  decltype(&FLAC__stream_decoder_set_metadata_respond_all) respondAll = library.find("FLAC__stream_decoder_set_metadata_respond_all");
  decltype(&FLAC__stream_decoder_init_stream) decoderInit = library.find("FLAC__stream_decoder_init_stream");
  decltype(&FLAC__stream_decoder_init_ogg_stream) decoderInitOgg = library.find("FLAC__stream_decoder_init_ogg_stream");
  decltype(&FLAC__stream_decoder_process_until_end_of_metadata) processMetadata = library.find("FLAC__stream_decoder_process_until_end_of_metadata");
  decltype(&FLAC__stream_decoder_process_single) processSingle = library.find("FLAC__stream_decoder_process_single");
  decltype(&FLAC__stream_decoder_get_state) decoderState = library.find("FLAC__stream_decoder_get_state");
  decltype(&FLAC__stream_decoder_flush) decoderFlush = library.find("FLAC__stream_decoder_flush");
  decltype(&FLAC__stream_decoder_seek_absolute) seek = library.find("FLAC__stream_decoder_seek_absolute");

  decltype(&FLAC__stream_encoder_new) encoderNew = library.find("FLAC__stream_encoder_new");
  decltype(&FLAC__stream_encoder_delete) encoderDelete = library.find("FLAC__stream_encoder_delete");
  decltype(&FLAC__stream_encoder_set_channels) setChannels = library.find("FLAC__stream_encoder_set_channels");
  decltype(&FLAC__stream_encoder_set_bits_per_sample) setBits = library.find("FLAC__stream_encoder_set_bits_per_sample");
  decltype(&FLAC__stream_encoder_set_sample_rate) setRate = library.find("FLAC__stream_encoder_set_sample_rate");
  decltype(&FLAC__stream_encoder_set_streamable_subset) setStreamable = library.find("FLAC__stream_encoder_set_streamable_subset");
  decltype(&FLAC__stream_encoder_set_compression_level) setLevel = library.find("FLAC__stream_encoder_set_compression_level");
  decltype(&FLAC__stream_encoder_set_total_samples_estimate) setTotal = library.find("FLAC__stream_encoder_set_total_samples_estimate");
  decltype(&FLAC__stream_encoder_set_metadata) setMetadata = library.find("FLAC__stream_encoder_set_metadata");
  decltype(&FLAC__stream_encoder_init_stream) encoderInit = library.find("FLAC__stream_encoder_init_stream");
  decltype(&FLAC__stream_encoder_process_interleaved) process = library.find("FLAC__stream_encoder_process_interleaved");
  decltype(&FLAC__stream_encoder_finish) encoderFinish = library.find("FLAC__stream_encoder_finish");

  decltype(&FLAC__metadata_object_new) objectNew = library.find("FLAC__metadata_object_new");
  decltype(&FLAC__metadata_object_delete) objectDelete = library.find("FLAC__metadata_object_delete");
  decltype(&FLAC__metadata_object_vorbiscomment_append_comment) appendComment = library.find("FLAC__metadata_object_vorbiscomment_append_comment");
  decltype(&FLAC__metadata_object_picture_set_data) setPictureData = library.find("FLAC__metadata_object_picture_set_data");
  decltype(&FLAC__metadata_object_picture_set_mime_type) setPictureType = library.find("FLAC__metadata_object_picture_set_mime_type");
  decltype(&FLAC__metadata_object_application_set_data) setApplicationData = library.find("FLAC__metadata_object_application_set_data");
  decltype(&FLAC__metadata_object_seektable_template_append_spaced_points_by_samples) appendSeekPoints = library.find("FLAC__metadata_object_seektable_template_append_spaced_points_by_samples");
};
// clang-format on

/// Opened with the first use, for good.
const Functions& functions();

}  // namespace vemko::flac
