# Resources linked into the library: the definition trees compiled by defc, and (as they come)
# fonts, image sets, stored-data defaults and the factory bank. The table keeps this order.
find_package(pugixml REQUIRED)
find_package(ZLIB REQUIRED)
add_executable(orl_defc
  ${CMAKE_SOURCE_DIR}/Tools/defc/main.cpp
  ${CMAKE_SOURCE_DIR}/Tools/defc/CXmlDefReader.cpp
  ${CMAKE_SOURCE_DIR}/Tools/defc/CDefTreeWriter.cpp)
target_include_directories(orl_defc PRIVATE ${CMAKE_SOURCE_DIR})
target_link_libraries(orl_defc PRIVATE pugixml)
orl_target_options(orl_defc)

set(ORL_GENERATED_DIR ${CMAKE_BINARY_DIR}/generated)
file(MAKE_DIRECTORY ${ORL_GENERATED_DIR}/Definitions)

# Compiles one definition file; the depfile lists its includes.
function(orl_compile_definition source outVar)
  get_filename_component(name ${source} NAME)
  set(out ${ORL_GENERATED_DIR}/Definitions/${name}.bin)
  add_custom_command(OUTPUT ${out}
    COMMAND orl_defc ${source} ${out} ${out}.d
    DEPENDS orl_defc ${source}
    DEPFILE ${out}.d
    COMMENT "Compiling definitions ${name}"
    VERBATIM)
  set(${outVar} ${out} PARENT_SCOPE)
endfunction()

# The defaults of stored application data, one block each, from Definitions/AppData/NAME.TYPE.
add_executable(orl_appdata ${CMAKE_SOURCE_DIR}/Tools/appdata/main.cpp)
target_link_libraries(orl_appdata PRIVATE ZLIB::ZLIB)
orl_target_options(orl_appdata)
file(MAKE_DIRECTORY ${ORL_GENERATED_DIR}/AppData)

set(ORL_RESOURCE_ENTRIES "")
set(ORL_RESOURCE_FILES "")
foreach(tree SharedData.xml UserInterface.xml)
  if(EXISTS ${CMAKE_SOURCE_DIR}/Definitions/${tree})
    orl_compile_definition(${CMAKE_SOURCE_DIR}/Definitions/${tree} compiled)
    list(APPEND ORL_RESOURCE_ENTRIES "${tree}=${compiled}")
    list(APPEND ORL_RESOURCE_FILES ${compiled})
    if(tree STREQUAL "SharedData.xml")
      set(ORL_SHARED_DATA_BIN ${compiled})
    endif()
  endif()
endforeach()

# The factory bank and the preset lists: a real instance, made from the compiled SharedData.xml,
# sets each preset's values and captures it (Tools/presetc). The tool links the library's objects
# with an empty resource table, since the real one holds its output.
set(ORL_PRESETS_DIR ${ORL_GENERATED_DIR}/Presets)
file(MAKE_DIRECTORY ${ORL_PRESETS_DIR})
set(ORL_EMPTY_RESOURCE_TABLE ${ORL_GENERATED_DIR}/EmptyResourceTable.cpp)
add_custom_command(OUTPUT ${ORL_EMPTY_RESOURCE_TABLE}
  COMMAND ${CMAKE_COMMAND} -DOUT=${ORL_EMPTY_RESOURCE_TABLE} "-DRESOURCES=" -P ${CMAKE_SOURCE_DIR}/Tools/ResourceTable.cmake
  DEPENDS ${CMAKE_SOURCE_DIR}/Tools/ResourceTable.cmake
  COMMENT "Writing the empty resource table"
  VERBATIM)
add_executable(orl_presetc ${CMAKE_SOURCE_DIR}/Tools/presetc/main.cpp ${ORL_EMPTY_RESOURCE_TABLE})
target_link_libraries(orl_presetc PRIVATE orl_objects pugixml)
orl_target_options(orl_presetc)
set(ORL_PRESET_OUTPUTS ${ORL_PRESETS_DIR}/FactoryROM.cbf ${ORL_PRESETS_DIR}/AppDataLocal_comp-presets.alst
    ${ORL_PRESETS_DIR}/AppDataGlobal_routing-presets-sys.alst)
add_custom_command(OUTPUT ${ORL_PRESET_OUTPUTS}
  COMMAND ${CMAKE_COMMAND} -E env ASAN_OPTIONS=detect_leaks=0 $<TARGET_FILE:orl_presetc> ${ORL_SHARED_DATA_BIN} ${CMAKE_SOURCE_DIR}/Definitions/Presets.xml ${ORL_PRESETS_DIR}
  DEPENDS orl_presetc ${ORL_SHARED_DATA_BIN} ${CMAKE_SOURCE_DIR}/Definitions/Presets.xml
  COMMENT "Writing the factory bank and the preset lists"
  VERBATIM)
list(APPEND ORL_RESOURCE_ENTRIES "FactoryROM.cbf=${ORL_PRESETS_DIR}/FactoryROM.cbf")
list(APPEND ORL_RESOURCE_FILES ${ORL_PRESETS_DIR}/FactoryROM.cbf)

foreach(name AppDataLocal_comp-presets AppDataGlobal_routing-presets-sys AppDataLocal_ui-palette-cache
             AppDataLocal_uicolor-name AppDataLocal_uicolor-palette AppDataGlobal_uicolor-presets)
  file(GLOB source CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Definitions/AppData/${name}.????)
  # The preset lists come from the preset compiler.
  if("${ORL_PRESETS_DIR}/${name}.alst" IN_LIST ORL_PRESET_OUTPUTS)
    set(source ${ORL_PRESETS_DIR}/${name}.alst)
  endif()
  if(source)
    set(out ${ORL_GENERATED_DIR}/AppData/${name}.bin)
    add_custom_command(OUTPUT ${out}
      COMMAND orl_appdata ${source} ${out}
      DEPENDS orl_appdata ${source}
      COMMENT "Writing the stored-data default ${name}"
      VERBATIM)
    list(APPEND ORL_RESOURCE_ENTRIES "${name}=${out}")
    list(APPEND ORL_RESOURCE_FILES ${out})
  endif()
endforeach()

set(ORL_RESOURCE_TABLE ${ORL_GENERATED_DIR}/ResourceTable.cpp)
add_custom_command(OUTPUT ${ORL_RESOURCE_TABLE}
  COMMAND ${CMAKE_COMMAND} -DOUT=${ORL_RESOURCE_TABLE} "-DRESOURCES=${ORL_RESOURCE_ENTRIES}"
          -P ${CMAKE_SOURCE_DIR}/Tools/ResourceTable.cmake
  DEPENDS ${ORL_RESOURCE_FILES} ${CMAKE_SOURCE_DIR}/Tools/ResourceTable.cmake
  COMMENT "Writing the resource table"
  VERBATIM)
