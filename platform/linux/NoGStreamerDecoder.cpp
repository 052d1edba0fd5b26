#include "platform/linux/GStreamerDecoder.h"

namespace lumora {

const std::string& gstreamerProblem()
{
    static const std::string& problem = *new std::string { "built without GStreamer" };
    return problem;
}

std::unique_ptr<VideoDecoder> makeGStreamerDecoder(const std::string&, VideoDecoder::Handlers)
{
    return nullptr;
}

} // namespace lumora
