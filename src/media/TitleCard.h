#pragma once

// The card that opens a video whose first lyric comes a while into the song: the track's
// title and artist lettered in the kit's display face over the first frame, darkened and
// blurred, so nothing with painted words is on screen before those words are sung.

#include <QImage>
#include <QString>

namespace quillvane {

// A card the size of `still`; an empty title reads "Untitled", an empty artist is left out.
QImage titleCard(const QImage &still, const QString &title, const QString &artist);

} // namespace quillvane
