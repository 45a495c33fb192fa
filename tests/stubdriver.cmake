# A driver library without tessReadT, for the look-up of the timestamped read.
add_library(tessbus_without_readt SHARED ${CMAKE_CURRENT_SOURCE_DIR}/stubs/tessbus_without_readt.c)
target_include_directories(tessbus_without_readt PRIVATE ${CMAKE_SOURCE_DIR}/tessbus/include)
set_target_properties(tessbus_without_readt PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/stubs)
if(TARGET tst_mainwindow)
    add_dependencies(tst_mainwindow tessbus_without_readt)
    target_compile_definitions(tst_mainwindow PRIVATE
        STUB_DRIVER_WITHOUT_READT="$<TARGET_FILE:tessbus_without_readt>")
endif()
