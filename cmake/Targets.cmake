# How every target of this project is built: warnings, sanitizers, include root.

find_package(Threads REQUIRED)

add_library(cv_build INTERFACE)
target_include_directories(cv_build INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(cv_build INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                       -Wnon-virtual-dtor -Werror)
target_link_libraries(cv_build INTERFACE Threads::Threads)
# What is served to strangers checks its buffers and stack, and leaves no table to overwrite.
set(optimised "$<CONFIG:Release,RelWithDebInfo>")
target_compile_options(cv_build INTERFACE
                       $<${optimised}:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2;-fstack-protector-strong>)
target_link_options(cv_build INTERFACE $<${optimised}:LINKER:-z,relro,-z,now>)
if(CVWEBDAV_SANITIZE)
    target_compile_options(cv_build INTERFACE -fsanitize=${CVWEBDAV_SANITIZE}
                           -fno-omit-frame-pointer)
    target_link_options(cv_build INTERFACE -fsanitize=${CVWEBDAV_SANITIZE})
endif()

# Gives a dynamic library just the names of its export list, whatever its code instantiates.
function(cv_export_only target list)
    target_link_options(${target} PRIVATE -Wl,--version-script=${CMAKE_CURRENT_SOURCE_DIR}/${list}
                        -Wl,--no-undefined)
    set_target_properties(${target} PROPERTIES PREFIX "" LINK_DEPENDS
                          ${CMAKE_CURRENT_SOURCE_DIR}/${list})
endfunction()
