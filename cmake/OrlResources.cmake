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
foreach(name AppDataLocal_comp-presets AppDataGlobal_routing-presets-sys AppDataLocal_ui-palette-cache
             AppDataLocal_uicolor-name AppDataLocal_uicolor-palette AppDataGlobal_uicolor-presets)
  file(GLOB source CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Definitions/AppData/${name}.????)
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

foreach(tree SharedData.xml UserInterface.xml)
  if(EXISTS ${CMAKE_SOURCE_DIR}/Definitions/${tree})
    orl_compile_definition(${CMAKE_SOURCE_DIR}/Definitions/${tree} compiled)
    list(APPEND ORL_RESOURCE_ENTRIES "${tree}=${compiled}")
    list(APPEND ORL_RESOURCE_FILES ${compiled})
  endif()
endforeach()

set(ORL_RESOURCE_TABLE ${ORL_GENERATED_DIR}/ResourceTable.cpp)
add_custom_command(OUTPUT ${ORL_RESOURCE_TABLE}
  COMMAND ${CMAKE_COMMAND} -DOUT=${ORL_RESOURCE_TABLE} "-DRESOURCES=${ORL_RESOURCE_ENTRIES}"
          -P ${CMAKE_SOURCE_DIR}/Tools/ResourceTable.cmake
  DEPENDS ${ORL_RESOURCE_FILES} ${CMAKE_SOURCE_DIR}/Tools/ResourceTable.cmake
  COMMENT "Writing the resource table"
  VERBATIM)
