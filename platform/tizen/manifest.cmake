# Writes the manifest of the package to QUORVEL_TIZEN_MANIFEST.
set(privileges "")
if(QUORVEL_TIZEN_PRIVILEGES)
  foreach(privilege ${QUORVEL_TIZEN_PRIVILEGES})
    string(APPEND privileges "    <privilege>${privilege}</privilege>\n")
  endforeach()
  set(privileges "  <privileges>\n${privileges}  </privileges>\n")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/tizen-manifest.xml.in ${QUORVEL_TIZEN_MANIFEST} @ONLY)
