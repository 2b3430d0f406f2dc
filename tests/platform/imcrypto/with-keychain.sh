#!/bin/sh
# Runs a command with a session bus and an unlocked keychain of its own, and TEST_KEYCHAIN_BUS set;
# without them where a program for that is missing.
set -eu
if [ -z "${DBUS_SESSION_BUS_ADDRESS:-}" ]; then
    command -v dbus-run-session >/dev/null && command -v gnome-keyring-daemon >/dev/null || exec "$@"
    exec dbus-run-session -- "$0" "$@"
fi
echo test | gnome-keyring-daemon --unlock --components=secrets >/dev/null
TEST_KEYCHAIN_BUS=$DBUS_SESSION_BUS_ADDRESS exec "$@"
