#pragma once

#include "platform/avfoundation/VideoDecoder.h"

namespace lumora {

// The real decoder, where this machine has one. It is optional: what wants it links it, and gives
// `makeGStreamerDecoder` to `setVideoDecoderFactory`.

/// Why there can be no real decoder; empty when there can. Asked for the first time it reads the machine's
/// list of codecs, which may take a second. Any thread.
const std::string& gstreamerProblem();

/// A real decoder for a video at an address, by the machine's clock; null when there can be none. It plays
/// pictures, no sound, of the formats that are installed. Nothing in it waits: files and servers are read on
/// threads of its own, on which the handlers are called too. Main thread.
std::unique_ptr<VideoDecoder> makeGStreamerDecoder(const std::string& url, VideoDecoder::Handlers handlers);

} // namespace lumora
