# zvc_add_plugin(name SOURCES file...): a plug-in of the library, named as ZV_MODULE names it, so that it is found by its
# bare name beside the program that loads it.
function(zvc_add_plugin name)
    cmake_parse_arguments(PARSE_ARGV 1 PLUGIN "" "" "SOURCES")
    if(NOT PLUGIN_SOURCES)
        message(FATAL_ERROR "zvc_add_plugin: SOURCES names the plug-in's files")
    endif()
    add_library(${name} MODULE ${PLUGIN_SOURCES})
    set_target_properties(${name} PROPERTIES PREFIX "")
    target_link_libraries(${name} PRIVATE zvc::zvc)
    if(CMAKE_RUNTIME_OUTPUT_DIRECTORY)
        set_target_properties(${name} PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
    endif()
endfunction()
