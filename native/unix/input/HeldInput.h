/// What players hold down in the X server, so that it does not outlast them.
///
/// A player that is killed leaves keys and buttons down, and the keyboards with the keys of a map that it
/// wrote to type a character that no key types. So each player, that is each connection that plays, keeps a
/// record of what it holds, and before it plays looks for records of players that have gone: it releases what
/// those have left down, puts locks and keyboards back, and lets keys repeat. What a living player has on
/// record, too, is left to the first one that plays when it no longer has. The trace tells of it. Of keys only
/// the XTEST devices are looked at: what somebody holds on a keyboard or mouse stays down.
///
/// Records are kept in the X server: there they last as long as the keys do, are seen by all who can play,
/// also from other containers, and are in the right order with the strokes, at no round trip.
///
///     _GXSYS_PLAYER_0, ..._1 and so on
///         as selections: each is owned by a window of one player, for as long as its connection lives;
///         as properties of the root window (CARDINAL, 32): the record of that player. Numbers are used
///         again.
///     _GXSYS_KEYBOARDS
///         property of the root window while players borrow a key: keysOfAllKeyboards of before the first one
///         did. The last one to end puts them back.
///     _GXSYS_LOCKS
///         property of the root window while players type texts: the group that was locked before the first
///         one did, the modifiers that texts switch, which of them are to be on at the end, 1 once a text has
///         been played, 1 once two were typed at once. The last one to end puts them back.
///
/// A record has 14 numbers: the place, which tells machines and process namespaces apart (0: not known), the
/// process and the lower half of its start time in clock ticks; 1 while the player borrows a key; 1 while it
/// types; 9 words of bits, lowest first, of the keys (0 to 255) and buttons (256 and their number) that are
/// down or were at some time of the events being played.
///
/// All of it is on g_display, which must be open and have XTest. Any thread; with the server grabbed while
/// records are cleared up and keyboards are saved and put back.
#pragma once

#include <functional>

/// Presses or releases a key or button through XTest, and has it on record while it is down. Does not flush.
/// @param delay  milliseconds that the server waits before
void fakeKey(unsigned char key, bool press, unsigned long delay);
void fakeButton(unsigned button, bool press, unsigned long delay);

/// Around whatever is played: clears up after players that have gone. Round trip.
class CPlayedInput {
public:
    CPlayedInput();
    ~CPlayedInput();
    CPlayedInput(const CPlayedInput&) = delete;
    CPlayedInput& operator=(const CPlayedInput&) = delete;
};

/// While one lives the first group is locked, and the locks may be switched; the group of before comes back
/// when the last one of all players ends. Round trips.
class CSwitchedLocks {
public:
    /// @param affected   bits of the modifiers that may be switched
    /// @param switchOff  is called, with the server grabbed, when no player has one: the locks are as they
    ///                   were left
    CSwitchedLocks(unsigned affected, const std::function<void()>& switchOff);
    ~CSwitchedLocks();
    CSwitchedLocks(const CSwitchedLocks&) = delete;
    CSwitchedLocks& operator=(const CSwitchedLocks&) = delete;

    /// Ends it early, with the server grabbed.
    /// @param switched    bits of modifiers that are to be the other way from now on
    /// @param switchOver  is called when it is the last one, with the modifiers whose locks are to switch
    void end(unsigned switched, const std::function<void(unsigned)>& switchOver);

private:
    bool m_ended = false;
};

/// While one lives the map of the keyboards may be written; after the last of all players each keyboard has
/// the keys that it had before the first. Round trips.
class CBorrowedKeyboards {
public:
    CBorrowedKeyboards();
    ~CBorrowedKeyboards();
    CBorrowedKeyboards(const CBorrowedKeyboards&) = delete;
    CBorrowedKeyboards& operator=(const CBorrowedKeyboards&) = delete;
};
