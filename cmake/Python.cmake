# The Python that the module is for: the system's, to which the packages of pybind11 and numpy belong, although another
# may come first in PATH. The module is built where the development files of both are.
if(NOT CMAKE_CROSSCOMPILING)
    if(NOT DEFINED Python_EXECUTABLE AND EXISTS /usr/bin/python3)
        set(Python_EXECUTABLE /usr/bin/python3 CACHE FILEPATH "The Python that the module is for")
    endif()
    find_package(Python QUIET COMPONENTS Interpreter Development.Module)
    set(PYBIND11_FINDPYTHON ON)
    find_package(pybind11 QUIET CONFIG)
endif()
if(Python_Development.Module_FOUND AND pybind11_FOUND)
    set(python_is_there ON)
endif()
option(PCM_BUILD_PYTHON "Build the Python module" ${python_is_there})
