#pragma once

#include <QString>

namespace quillvane {

// How finely a time is shown: whole seconds ("m:ss") or hundredths ("m:ss.cc").
enum class ClockUnit { seconds, hundredths };

// A time as every screen and the command line show it: minutes (never wrapped into hours),
// then seconds, cut to the unit shown rather than rounded, so a time never reads later than
// it is and the two precisions agree: 59.5 s is "0:59" and 59.999 s "0:59.99". A time before
// zero keeps its minus sign.
QString clockText(double seconds, ClockUnit unit);

// A time typed as "m:ss.cc", "ss.cc" or "h:mm:ss.cc" (only the last part has a fraction,
// every part after a colon stays under 60); NaN when the text is none of these.
double parseClock(const QString &text);

} // namespace quillvane
