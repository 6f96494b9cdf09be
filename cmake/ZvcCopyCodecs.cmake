# zvc_copy_codecs(target): brings the image codecs beside a program, which is where the library looks for them.
function(zvc_copy_codecs target)
    foreach(name png jpg tif bmp hdr)
        if(NOT TARGET zvc::codec_${name})
            continue()
        endif()
        get_target_property(imported zvc::codec_${name} IMPORTED)
        if(NOT imported)
            add_dependencies(${target} zvc_${name})
        endif()
        add_custom_command(TARGET ${target} POST_BUILD VERBATIM COMMAND ${CMAKE_COMMAND} -E copy_if_different
            $<TARGET_FILE:zvc::codec_${name}> $<TARGET_FILE_DIR:${target}>)
    endforeach()
endfunction()
