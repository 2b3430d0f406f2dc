# Plays FEED with CLIENT in an empty home, as a newcomer would: twice, and then with damaged input.

set(data $ENV{HOME}/client-data)

# Runs the client and leaves its output and the lines of its listing, fit for CMake's lists.
function(run exit_code)
    execute_process(COMMAND ${CLIENT} ${ARGN}
                    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
    if(NOT result EQUAL exit_code)
        message(FATAL_ERROR "${ARGN}: exit code ${result}, not ${exit_code}\n${output}\n${errors}")
    endif()
    string(REGEX REPLACE "[][;\\]" "?" lines "${output}")
    string(REGEX MATCHALL "[^\n]+" lines "${lines}")
    list(FILTER lines INCLUDE REGEX "^ *[0-9]+  [0-9][0-9]:[0-9][0-9]  ")
    set(output "${output}" PARENT_SCOPE)
    set(errors "${errors}" PARENT_SCOPE)
    set(lines "${lines}" PARENT_SCOPE)
endfunction()

function(expect text pattern)
    if(NOT text MATCHES "${pattern}")
        message(FATAL_ERROR "\"${pattern}\" is missing in:\n${text}")
    endif()
endfunction()

run(0 --data ${data} --feed ${FEED})
set(first "${lines}")
list(LENGTH first count)
if(count LESS 40)
    message(FATAL_ERROR "Only ${count} messages:\n${output}")
endif()
expect("${output}" "this is the first start")
expect("${output}" "messages +${count}\n")

foreach(file IN ITEMS global.db messages.db log/im.log)
    if(NOT EXISTS ${data}/${file})
        message(FATAL_ERROR "${file} is not in the data directory")
    endif()
endforeach()
file(GLOB elsewhere $ENV{XDG_DATA_HOME}/*)
if(elsewhere)
    message(FATAL_ERROR "Data outside the data directory: ${elsewhere}")
endif()

# What was kept is rebuilt, with the same sizes; the feed brings nothing new.
run(0 --data ${data} --feed ${FEED})
if(NOT lines STREQUAL first)
    message(FATAL_ERROR "The second run lists other messages or sizes:\n${output}")
endif()
expect("${output}" "${count} messages kept from")
expect("${output}" "All sizes are what they were")
expect("${output}" "kept from the first start.* font size is 16 px")

# At another width the messages are measured anew, and then again as before.
run(0 --data ${data} --width 200)
expect("${output}" "${count} messages were kept for another width")
run(0 --data ${data})
if(NOT lines STREQUAL first)
    message(FATAL_ERROR "Back at the first width, sizes are not what they were:\n${output}")
endif()

# A feed that was cut off: what came before the damage is shown and kept.
file(SIZE ${FEED} size)
math(EXPR half "${size} / 2")
execute_process(COMMAND head -c ${half} ${FEED} OUTPUT_FILE $ENV{HOME}/cut.feed
                COMMAND_ERROR_IS_FATAL ANY)
run(2 --data ${data}-cut --feed $ENV{HOME}/cut.feed)
expect("${errors}" "cut.feed: frame [0-9]+ is cut off")
set(shown "${lines}")
list(LENGTH shown count)
list(SUBLIST first 0 ${count} expected)
if(count LESS 10 OR NOT shown STREQUAL expected)
    message(FATAL_ERROR "Before the damage stand ${count} messages:\n${output}")
endif()
run(0 --data ${data}-cut)
if(NOT lines STREQUAL shown)
    message(FATAL_ERROR "What came before the damage was not kept:\n${output}")
endif()

# Everything else that a person can get wrong.
run(1 --width 3)
run(2 --data ${data} --feed $ENV{HOME}/none.feed)
expect("${errors}" "none.feed cannot be played")
file(WRITE $ENV{HOME}/file "")
run(3 --data $ENV{HOME}/file)
expect("${errors}" "--data")
file(WRITE ${data}-cut/messages.db "This was a database once, and is none any more. ............")
run(3 --data ${data}-cut)
expect("${errors}" "messages.db is damaged")
