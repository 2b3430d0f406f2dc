# Makes the window walk through its pages, and checks that the transcript names them all.
set(ENV{QT_QUICK_BACKEND} software)
file(REMOVE_RECURSE ${PICTURES})
execute_process(COMMAND ${MESSENGER} --feed ${FEEDS}/first-light.feed --feed ${FEEDS}/lakeside.feed
                        --walk ${PICTURES}
                RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "The walk ends with ${result}:\n${output}\n${errors}")
endif()
# Warnings of QML are our errors.
if(errors MATCHES "qrc:[^\n]*")
    message(FATAL_ERROR "The window complains:\n${errors}")
endif()

file(READ ${PICTURES}/transcript.txt transcript)
foreach(page IN ITEMS
        "dialog list" "message view" "next mention" "next reaction" "settings page" "device page"
        "data move page: under way" "data move page: at its end" "log view" "add-account page"
        "the draft vetoes the switch" "lock screen" "notebook: unlocked" "the accounts are back"
        "no account is left")
    if(NOT transcript MATCHES "\\.png: [^\n]*${page}")
        message(FATAL_ERROR "No picture of: ${page}\n${transcript}")
    endif()
endforeach()
string(REGEX MATCH "kinds of content shown: [^\n]*" kinds "${transcript}")
foreach(kind IN ITEMS text emoji game image video voice music file folder group sticker card
        location system call meeting poll lottery combined)
    if(NOT kinds MATCHES "[ ]${kind}(,|$)")
        message(FATAL_ERROR "Not shown: ${kind}\n${kinds}")
    endif()
endforeach()
if(transcript MATCHES "[A-Z][A-Z][A-Z][A-Z]")
    message(FATAL_ERROR "Something went wrong:\n${transcript}")
endif()
