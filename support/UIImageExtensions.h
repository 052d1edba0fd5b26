#pragma once

#include "platform/uikit/UIImage.h"

namespace lumora {

class AVPlayerItem;

// What the library adds to the platform's pictures.

/// The picture a video is at; a null one for no item and for one that has none yet. Any thread.
UIImage imageWithAVPlayerItem(const AVPlayerItem* item);

}
