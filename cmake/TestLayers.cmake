cmake_minimum_required(VERSION 3.25)
# cmake -DCHECK=<CheckLayers.cmake> -DWORK=<directory> -P TestLayers.cmake: a small tree passes, and
# one with a cycle fails.
file(REMOVE_RECURSE ${WORK})
file(STRINGS ${CHECK} rows REGEX "^layer[(]")
foreach(row IN LISTS rows)
    string(REGEX REPLACE "^layer[(]([a-z0-9/]+).*" "\\1" folder "${row}")
    file(WRITE ${WORK}/${folder}/a.h "")
endforeach()

function(check expected_result expected_text)
    execute_process(COMMAND ${CMAKE_COMMAND} -DSOURCE=${WORK} -P ${CHECK}
                    RESULT_VARIABLE result OUTPUT_VARIABLE text ERROR_VARIABLE text)
    string(REGEX REPLACE "[ \n]+" " " text "${text}")
    if(result)
        set(result refused)
    endif()
    if(NOT result STREQUAL expected_result OR NOT text MATCHES "${expected_text}")
        message(FATAL_ERROR "Expected ${expected_result}: ${expected_text}; got ${result}: ${text}")
    endif()
endfunction()

file(WRITE ${WORK}/settings/a.h "#include \"core/a.h\"\n")
check(0 "Layers, lowest first:")
file(WRITE ${WORK}/core/a.h "#include \"settings/a.h\"\n")
check(refused "core/a.h may not: #include \"settings/a.h\" a circle, or above one: core, settings")
