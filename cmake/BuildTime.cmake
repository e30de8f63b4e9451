# PCM_BUILD_TIME, the text of the module record: SOURCE_DATE_EPOCH if that is set, otherwise the time of the commit, so
# that two builds of one commit are identical; the present outside a checkout.
find_package(Git QUIET)
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH} AND GIT_FOUND AND EXISTS ${CMAKE_SOURCE_DIR}/.git)
    execute_process(COMMAND ${GIT_EXECUTABLE} log -1 --format=%ct WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}
        OUTPUT_VARIABLE commit_time OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
    if(NOT failed)
        set(ENV{SOURCE_DATE_EPOCH} ${commit_time})
        set(from_commit ON)
        if(EXISTS ${CMAKE_SOURCE_DIR}/.git/logs/HEAD)
            set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/.git/logs/HEAD)
        endif()
    endif()
endif()
string(TIMESTAMP PCM_BUILD_TIME "UTC %Y-%m-%d %H:%M:%S (%A)" UTC)
if(from_commit)
    unset(ENV{SOURCE_DATE_EPOCH})
endif()
