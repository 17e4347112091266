/// Operations on keys that nothing in the library calls; see doc/kept-on-purpose.md.
#pragma once

/// Types a character by the Compose key and the two characters of g_SpecialChars.
/// @return 1; 0 when the keyboard has no Compose key, or the table not this character
int playCharWithCompose(unsigned character);

/// Strokes go out at once, so there is never anything to flush, and always room.
inline void ClearJrnlEvents() {}
inline void PlaybackEvents() {}
inline int SpaceRemainingForJrnlEvents()
{
    return 256;
}
