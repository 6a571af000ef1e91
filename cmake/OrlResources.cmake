# Resources linked into the library: the definition trees compiled by defc, and (as they come)
# fonts, image sets, stored-data defaults and the factory bank. The table keeps this order.
find_package(pugixml REQUIRED)
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

set(ORL_RESOURCE_ENTRIES "")
set(ORL_RESOURCE_FILES "")
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
