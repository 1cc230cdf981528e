# lv_mac_bundle(<target>): makes the application "Lumivane Manager.app" on a Mac, with its
# Info.plist from cmake/Info.plist.in and the icon made from the app icon (src/app/mac/AppIcon.icns,
# made with icnsutils' png2icns). The portable installer and pluginkit stay out of it: a Mac has
# its own. A link "lumivane-manager" beside the bundle keeps the scripts' and tests' path.

# lv_mac_info_plist(<output>): the bundle's Info.plist (the tests expand it on every system).
function(lv_mac_info_plist output)
    set(LV_BUNDLE_EXECUTABLE "${LV_BUNDLE_NAME}")
    configure_file(${PROJECT_SOURCE_DIR}/cmake/Info.plist.in ${output} @ONLY)
endfunction()

function(lv_mac_bundle target)
    lv_mac_info_plist(${CMAKE_CURRENT_BINARY_DIR}/Info.plist)
    set(icon ${PROJECT_SOURCE_DIR}/src/app/mac/AppIcon.icns)
    target_sources(${target} PRIVATE ${icon})
    set_source_files_properties(${icon} PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
    set_target_properties(${target} PROPERTIES
        MACOSX_BUNDLE TRUE
        OUTPUT_NAME "${LV_BUNDLE_NAME}"
        MACOSX_BUNDLE_INFO_PLIST ${CMAKE_CURRENT_BINARY_DIR}/Info.plist)
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_COMMAND} -E create_symlink
            "${LV_BUNDLE_NAME}.app/Contents/MacOS/${LV_BUNDLE_NAME}" "$<TARGET_BUNDLE_DIR:${target}>/../lumivane-manager"
        VERBATIM)
endfunction()
