#pragma once

/// The machine's power, by way of systemd-logind's own programs. On a machine without systemd, or without a system bus,
/// these operations are absent: they do nothing, quietly, and return false. Main thread only.

/// Keeps the machine from sleeping while nobody touches it (true), or allows it again (false). Repeating is harmless.
/// The lock ends with this process, however it ends. True when the state asked for was entered; whether logind grants
/// the lock is its own decision.
bool power_keep_awake(bool on);

enum POWER_ACTION { POWER_SUSPEND, POWER_HIBERNATE, POWER_OFF };
/// Asks logind for it, without a password question. False when it is absent or refused.
bool power_action(POWER_ACTION action);
