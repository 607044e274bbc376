#pragma once

// The card that opens a video whose first lyric comes a while into the song: the track's
// title and artist lettered in the kit's display face over the first frame, darkened and
// blurred, so nothing with painted words is on screen before those words are sung.

#include <QImage>
#include <QString>

namespace quillvane {

// A card of `size` (the video's frame): the still scaled to cover it, its middle kept, so the
// letters are sized for the frame they are seen in, wide, tall or square. An empty title reads
// "Untitled", an empty artist is left out.
QImage titleCard(const QImage &still, const QSize &size, const QString &title, const QString &artist);

} // namespace quillvane
