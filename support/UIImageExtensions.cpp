#include "support/UIImageExtensions.h"

#include "platform/avfoundation/AVPlayerItem.h"

namespace lumora {

UIImage imageWithAVPlayerItem(const AVPlayerItem* item) { return item ? item->currentFrame() : UIImage {}; }

} // namespace lumora
