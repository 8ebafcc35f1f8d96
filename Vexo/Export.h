#ifndef VEXO_EXPORT_H
#define VEXO_EXPORT_H

/*
 * LPMTRIE_API marks what the shared library shows: all else stays inside, as its sources are
 * compiled with hidden visibility. Classes and functions of the headers that clients include bear
 * it, unless all of them is inline. Headers in C include this one too.
 */

#define LPMTRIE_API __attribute__((visibility("default")))

#endif
