#pragma once

// The offline studio's storyboard planner: a plan made by rules from the planner's input
// (artist, duration, timed transcript, style guidance), in the shape the storyboard parser
// reads, and returned the way language-model planners often return theirs: the plan as JSON
// text inside a string field. Deterministic: the same input gives the same plan.

#include <QJsonObject>

namespace quillvane::studio {

// A timed line of the transcript text "[start-end] words".
struct TimedLine {
    double start = 0;
    double end = 0;
    QString text;
};

QList<TimedLine> parseTranscript(const QString &transcript);

// The planner's result document for its input.
QJsonObject planResult(const QJsonObject &input);

// The plan itself (what planResult carries as text).
QJsonObject plan(const QJsonObject &input);

} // namespace quillvane::studio
