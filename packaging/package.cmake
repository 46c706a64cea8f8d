# The Debian package, made by `cpack -G DEB` in the build folder. Included
# from the top-level CMakeLists.txt just before CPack itself.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quillary-author)
set(CPACK_PACKAGE_VENDOR "Quillary Author")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "${QUILLARY_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "authoring tool for multi-language help systems and manuals")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
# Directories as Debian expects them, whatever the umask of the build.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${QUILLARY_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION text)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Quillary Author writes help systems and manuals in several languages.
A project is a book of chapters, subchapters and topics; every topic holds
its title and text in the main language and in each further language side
by side. The desktop program quillary-author edits the book; the command
line program quillary does the same work in scripts.
.
Books are published as HTML Help (CHM), PDF, single HTML and framed HTML
through DocBook XSL, FOP and Free Pascal's chmcmd. Translations go out as
zip archives or XLIFF 1.2 files and come back into their language only.
Context help IDs tie the topics to the forms of the documented application.")

# Libraries come from dpkg-shlibdeps; these are the programs and data the
# publishing and the desktop program call by name at run time.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "docbook-xsl, fop, fp-utils, libjs-lunr, qt6-qpa-plugins")
# Spelling and thesaurus in the editor, fonts for the PDF, more picture formats.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "hunspell-en-us | hunspell-dictionary, mythes-en-us | mythes-thesaurus, qt6-webengine-dev-tools, fonts-dejavu-core, fonts-liberation, qt6-image-formats-plugins")
# CJK text in the PDF, PO round trips of XLIFF, validating kept DocBook, checking an EPUB.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS
    "fonts-droid-fallback | fonts-wqy-zenhei, translate-toolkit, docbook-xml, epubcheck")

# `cpack --config CPackSourceConfig.cmake` packs the sources without build trees.
set(CPACK_SOURCE_IGNORE_FILES "/\\\\.git/" "/build/" "/build-[^/]*/")
