#pragma once

#include <QChar>
#include <QString>

namespace quillvane {

// Every character that ends a line: line feed, vertical tab, form feed, carriage return,
// next line, line and paragraph separators.
bool isNewline(QChar c);

// Trims the white space that is not a line break (blanks, tabs) from both ends.
QString trimBlanks(const QString &text);

// The text trimmed and without the full stops, commas, colons and semicolons at its end, for
// putting a person's phrase into a sentence of the app's own ("neon." + ", the words" would
// read ".,").
QString withoutClosingPunctuation(const QString &text);

} // namespace quillvane
