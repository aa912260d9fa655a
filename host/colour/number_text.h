// Numbers as text for people and for files: a fixed number of decimals, independent of the
// process locale, never in exponent form and never "-0".
#ifndef QUILBY_HOST_COLOUR_NUMBER_TEXT_H
#define QUILBY_HOST_COLOUR_NUMBER_TEXT_H

#include <string>

namespace quilbycolour {

// `value` rounded to `decimals` decimals (0 to 17): fixedText(6502.39, 0) is "6502",
// fixedText(-0.00004, 4) is "0.0000". Not-a-number and infinities give "nan", "inf", "-inf".
std::string fixedText(double value, int decimals);

// The same with a sign always written for non-zero results: "+0.0032", "-0.0011", "0.0000".
std::string signedFixedText(double value, int decimals);

}  // namespace quilbycolour

#endif  // QUILBY_HOST_COLOUR_NUMBER_TEXT_H
