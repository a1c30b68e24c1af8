# Store libraries with nothing behind their names, for the tests of binding: all_CVUser and
# all_CVCalendar offer every name that is bound, lacking_CVUser and lacking_CVCalendar all but one.
set(store_libraries ${CMAKE_CURRENT_BINARY_DIR}/store_libraries)

function(cv_empty_library name operations)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${name}.c)
    list(TRANSFORM operations REPLACE "(.+)" "void \\1(void) {}")
    list(JOIN operations "\n" definitions)
    file(CONFIGURE OUTPUT ${source} CONTENT "${definitions}\n" @ONLY)
    add_library(${name} MODULE ${source})
    set_target_properties(${name} PROPERTIES PREFIX "" C_VISIBILITY_PRESET default
                          LIBRARY_OUTPUT_DIRECTORY ${store_libraries})
    add_dependencies(test_webdav ${name})
endfunction()

function(cv_empty_libraries name list)
    file(READ ${PROJECT_SOURCE_DIR}/webdav/store/StoreOperations.h header)
    string(REGEX MATCH "#define ${list}\\(X\\)[^#]*\n\n" rows "${header}")
    string(REGEX MATCHALL "CV_[A-Za-z]+" operations "${rows}")
    cv_empty_library(all_${name} "${operations}")
    list(REMOVE_AT operations -1)
    cv_empty_library(lacking_${name} "${operations}")
endfunction()

cv_empty_libraries(CVUser WEBDAV_USER_OPERATIONS)
cv_empty_libraries(CVCalendar WEBDAV_CALENDAR_OPERATIONS)
target_compile_definitions(test_webdav PRIVATE STORE_LIBRARIES="${store_libraries}")
