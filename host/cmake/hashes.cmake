# Writes OUT, a C++ initialiser list {"fqName", "hash"}, from "hidl-gen -L hash" over PACKAGES.
# Called as: cmake -DHIDL_GEN=... -DROOTS="a:b;c:d" -DPACKAGES="p@1.0;q@1.0" -DOUT=... -P hashes.cmake
set(args -L hash -R)
foreach(root ${ROOTS})
  list(APPEND args -r ${root})
endforeach()
set(text "")
foreach(package ${PACKAGES})
  execute_process(COMMAND ${HIDL_GEN} ${args} ${package}
                  OUTPUT_VARIABLE out RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "hidl-gen -L hash ${package} failed")
  endif()
  string(REGEX REPLACE "([0-9a-f]+) ([^\n]+)" "{\"\\2\", \"\\1\"}," out "${out}")
  string(APPEND text "${out}")
endforeach()
file(WRITE ${OUT}.tmp "${text}")
file(COPY_FILE ${OUT}.tmp ${OUT} ONLY_IF_DIFFERENT)
