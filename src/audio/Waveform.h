#pragma once

#include <QList>
#include <QString>

namespace quillvane {

// The loudness outline of a track for the timing screen: `buckets` equal stretches of the
// song, each the peak of its samples (0 silent … 1 full scale). Empty when the file holds no
// audio. Decodes the whole track: call it off the UI thread.
QList<float> waveformPeaks(const QString &audioPath, int buckets);

} // namespace quillvane
