/*
 * Tells how often threads have begun to wait on a condition. The linker puts the stand-in in place (--wrap).
 */
#ifndef TESTS_ENGINE_BLOCKS_WATCHED_WAIT_H
#define TESTS_ENGINE_BLOCKS_WATCHED_WAIT_H

/** Unlimited waits that have begun in this process, on a lock that is given back by the wait itself. */
int begun_waits();
/** Returns once `count` waits have begun. */
void await_begun_waits(int count);

#endif
