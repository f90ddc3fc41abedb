/// Finds out where a section of an AIT is wrong, for whoever listens to decisions.
#ifndef VESTA_SIGNALLING_REFUSED_SECTION_H
#define VESTA_SIGNALLING_REFUSED_SECTION_H

#pragma GCC visibility push(hidden)

namespace VestaHbbTV {

/// Walks as AIT::parse() does, up to what that refuses, and explains it.
/// @param section with a header that was found right; its section_length bounds what is read
void explainRefusal(const unsigned char* section);

}  // namespace VestaHbbTV

#pragma GCC visibility pop

#endif
