# Plays the feeds in FEEDS with CLIENT in an empty home, as a newcomer would: twice, and then with
# damaged input.

set(home $ENV{HOME}/first)
set(data modelbase/modelbase-client)
set(store ${data}/1001/userstatus/messages.db)
set(feed ${FEEDS}/first-light.feed)
set(feeds --feed ${feed} --feed ${FEEDS}/lakeside.feed)

# The client's files are private to the user, even if new files are public by default.
if(UNIX)
    set(anybody sh -c "umask 0 && exec \"$0\" \"$@\"")
endif()

# Runs the client with its data below `place`, and returns its output and the lines of its listing,
# usable as CMake lists.
function(run exit_code place)
    set(ENV{XDG_DATA_HOME} ${place})
    set(ENV{TMPDIR} ${place})
    execute_process(COMMAND ${anybody} ${CLIENT} ${ARGN}
                    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
    if(NOT result EQUAL exit_code)
        message(FATAL_ERROR "${ARGN}: exit code ${result}, not ${exit_code}\n${output}\n${errors}")
    endif()
    if(UNIX AND IS_DIRECTORY ${place}/modelbase)
        execute_process(COMMAND find ${place} -mindepth 1 -perm /077 OUTPUT_VARIABLE open)
        if(open)
            message(FATAL_ERROR "Open to others:\n${open}")
        endif()
    endif()
    string(REGEX REPLACE "[][;\\]" "?" lines "${output}")
    string(REGEX MATCHALL "[^\n]+" lines "${lines}")
    list(FILTER lines INCLUDE REGEX "^ *[0-9]+  [0-9][0-9]:[0-9][0-9]  |^ +· |, [0-9-]+$")
    set(output "${output}" PARENT_SCOPE)
    set(errors "${errors}" PARENT_SCOPE)
    set(lines "${lines}" PARENT_SCOPE)
endfunction()

function(expect text pattern)
    if(NOT text MATCHES "${pattern}")
        message(FATAL_ERROR "\"${pattern}\" is missing in:\n${text}")
    endif()
endfunction()

run(0 ${home} ${feeds})
set(first "${lines}")
set(messages "${first}")
list(FILTER messages INCLUDE REGEX "^ *[0-9]+  ")
list(LENGTH messages count)
expect("${output}" "this is the first start")
expect("${output}" "messages +${count}\n")

# Every kind of content, groups of media and of files, and an unknown newer kind.
foreach(kind IN ITEMS text emoji game image voice music video file folder sticker card location system
        call meeting poll lottery combined)
    expect("${messages}" "[0-9][0-9]:[0-9][0-9]  [^ ]+ +${kind} +[0-9]+×[0-9]+ ")
endforeach()
expect("${first}" "· [0-9]+×[0-9]+, 5 as one: Everything.*· [0-9]+×[0-9]+, 3 as one: All")
expect("${messages}" "  .a kind of content not shown here.")
# Their files: their content was examined, and none is missing.
expect("${messages}" "with thumbnail.*Lakeside[^;]*, with cover")
expect("${output}" "\nfiles +1[0-9] fetched, [^\n]*already here: 0\n")
if(output MATCHES "NOT HERE")
    message(FATAL_ERROR "A file is missing:\n${output}")
endif()

# The results of the steps with the accounts; errors are in capitals.
foreach(step IN ITEMS "0199: Too many codes.*after 2024-05-18" "0101: The code is wrong"
        "Mira .id 1001. is signed in on device 10011" "Jonas .id 1002. is signed in"
        "vetoes: still Jonas" "from Jonas .id 1002. to Mira" "is locked. 1111 does not unlock it. 2580 unlocks"
        "This one: Desktop" "Old tablet: unlinked. 2 others" "NOT_IMPLEMENTED: im[a-zA-Z.]*UpdateFocus"
        "together 9" "100 %  48.0 MB of 48.0 MB\n  12 files lie" "Entered: .*Left: Mira" "kept as 62"
        "logged out; nothing of it is left here. Mira .* with 5 unread"
        "deleted the account; nothing of it is left here. Mira .* with 5 unread")
    expect("${output}" "${step}")
endforeach()

foreach(file IN ITEMS ${data}/global.db ${data}/log/im.log ${store})
    if(NOT EXISTS ${home}/${file})
        message(FATAL_ERROR "${file} is missing")
    endif()
endforeach()
file(GLOB_RECURSE pictures RELATIVE ${home}/modelbase ${home}/*.jpg)
list(FILTER pictures EXCLUDE REGEX "^modelbase-client-media/1001/image/")
file(GLOB jonas ${home}/${data}*/1002)
if(pictures OR jonas)
    message(FATAL_ERROR "Not moved, or not removed: ${pictures} ${jonas}")
endif()

# Kept messages are restored with the same sizes; the feeds bring nothing new.
run(0 ${home} ${feeds})
if(NOT lines STREQUAL first)
    message(FATAL_ERROR "The second run lists other messages or sizes:\n${output}")
endif()
expect("${output}" "${count} messages kept from")
expect("${output}" "All sizes are what they were")
expect("${output}" "\nfiles +0 fetched, 0 B together; already here: 1[0-9]\n")
expect("${output}" "kept from the first start.* font size is 16 px")
expect("${output}" "is locked; the passcode unlocks it")
expect("${output}" "Mira .id 1001., .1 5550101, device 10011, unread 5, tabs 96 px\n *[0-9]+ media files in [^\n]*-media")
expect("${output}" "note: The spare key lies under the third flower pot")
if(output MATCHES "Jonas .id 1002.")
    message(FATAL_ERROR "An account that logged out is listed again:\n${output}")
endif()

# At another width the messages are measured again, and then as before.
run(0 ${home} --width 200)
expect("${output}" "${count} messages were kept for another width")
run(0 ${home})
if(NOT lines STREQUAL first)
    message(FATAL_ERROR "Sizes differ after returning to the first width:\n${output}")
endif()

# An account whose store is lost signs in again, and finds its messages.
file(WRITE ${home}/${data}/1001/userstatus/account.db "no database")
file(CHMOD ${home}/${data}/1001/userstatus/account.db PERMISSIONS OWNER_READ OWNER_WRITE WORLD_READ)
run(0 ${home})
expect("${errors}" "account.db was damaged")
if(NOT lines STREQUAL first)
    message(FATAL_ERROR "The messages were lost with the account's store:\n${output}")
endif()

# A truncated feed: everything before the damage is shown and kept.
file(SIZE ${feed} size)
math(EXPR half "${size} / 2")
execute_process(COMMAND head -c ${half} ${feed} OUTPUT_FILE $ENV{HOME}/cut.feed
                COMMAND_ERROR_IS_FATAL ANY)
run(2 $ENV{HOME}/cut --feed $ENV{HOME}/cut.feed)
expect("${errors}" "cut.feed: frame [0-9]+ is cut off")
set(shown "${lines}")
list(LENGTH shown count)
list(SUBLIST first 0 ${count} expected)
if(count LESS 10 OR NOT shown STREQUAL expected)
    message(FATAL_ERROR "There are ${count} messages before the damage:\n${output}")
endif()
run(0 $ENV{HOME}/cut)
if(NOT lines STREQUAL shown)
    message(FATAL_ERROR "The messages before the damage were not kept:\n${output}")
endif()

# Other user errors.
run(1 ${home} --width 3)
run(2 ${home} --feed $ENV{HOME}/none.feed)
expect("${errors}" "none.feed cannot be played")
file(WRITE $ENV{HOME}/file "")
run(3 $ENV{HOME}/file)
expect("${errors}" "XDG_DATA_HOME")
file(WRITE $ENV{HOME}/cut/${store} "This was a database once, and is none any more. ............")
run(3 $ENV{HOME}/cut)
expect("${errors}" "messages.db is damaged")
