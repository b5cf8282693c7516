# find_package(tarvo): the target tarvo::tarvo, for 32-bit programs. The DLL must
# lie where the program finds it; $<TARGET_FILE:tarvo::tarvo> is its path.
if(TARGET tarvo::tarvo)
    return()
endif()

get_filename_component(_tarvo_folder "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)
if(MSVC)
    set(_tarvo_library tarvo.lib)
else()
    set(_tarvo_library libtarvo.dll.a)
endif()

add_library(tarvo::tarvo SHARED IMPORTED)
set_target_properties(tarvo::tarvo PROPERTIES
    IMPORTED_LOCATION "${_tarvo_folder}/TARVO.DLL"
    IMPORTED_IMPLIB "${_tarvo_folder}/lib/${_tarvo_library}"
    INTERFACE_INCLUDE_DIRECTORIES "${_tarvo_folder}/include")

unset(_tarvo_folder)
unset(_tarvo_library)
