# Records CONVERSATION again and compares the result with the committed FEED.
file(REMOVE ${RECORDED})
execute_process(COMMAND ${RECORDER} ${CONVERSATION} ${RECORDED} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${RECORDED} ${FEED}
                RESULT_VARIABLE different)
if(different)
    message(FATAL_ERROR "${FEED} is not what ${CONVERSATION} says; record it again:\n"
                        "  ${RECORDER} ${CONVERSATION} ${FEED}")
endif()
