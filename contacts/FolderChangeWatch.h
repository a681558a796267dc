#pragma once

#include <QByteArray>
#include <optional>

// Tells whether anything in a folder may have changed since an earlier moment, without
// looking at its files: a folder of 100,000 files takes far longer to list and stat than a
// search of its index.
//
// generation(dir) gives a number that differs from every earlier one for that folder as soon
// as the kernel reported a change in it (a file written, its attributes changed, a file
// added, removed or renamed). A caller remembers the number it saw before it looked at the
// files; the same number later means nothing changed since.
//
// On Linux this is inotify, one instance for the process. nullopt (the caller must look at
// the files) where changes cannot be watched: on other systems, on network and FUSE file
// systems (changes made on other machines are not reported there), and when the kernel's
// limits are reached.
class FolderChangeWatch
{
public:
    static std::optional<quint64> generation(const QByteArray& dir);
    // From now on generation() answers nullopt: a process that looks at a folder once (the
    // command-line program) would only pay for setting up a watch it never asks again.
    static void disable();
};
