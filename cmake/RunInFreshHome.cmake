# Runs one test in an empty home directory, so that tests do not share files.
file(REMOVE_RECURSE ${HOME})
file(MAKE_DIRECTORY ${HOME}/run)
file(CHMOD ${HOME}/run PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
set(ENV{HOME} ${HOME})
set(ENV{XDG_DATA_HOME} ${HOME}/data)
set(ENV{XDG_CONFIG_HOME} ${HOME}/config)
set(ENV{XDG_CACHE_HOME} ${HOME}/cache)
set(ENV{XDG_RUNTIME_DIR} ${HOME}/run)
set(ENV{QT_QPA_PLATFORM} offscreen)
set(ENV{LC_ALL} C.UTF-8)
# Printing the stack takes seconds, in which a program with a crashed thread may end successfully.
set(ENV{QTEST_DISABLE_STACK_DUMP} 1)
# Tests do not touch the user's keychain either.
unset(ENV{DBUS_SESSION_BUS_ADDRESS})
# Ignore Qt's internals: it is not built with the sanitizer, which sees its memory accesses but not
# its locks. Some tests fork while the log's thread runs.
set(ENV{TSAN_OPTIONS} die_after_fork=0:ignore_noninstrumented_modules=1:suppressions=${CMAKE_CURRENT_LIST_DIR}/../tests/support/tsan.supp)
execute_process(COMMAND ${TEST} RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "${TEST}: ${result}")
endif()
