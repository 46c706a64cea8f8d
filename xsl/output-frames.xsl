<?xml version="1.0"?>
<!-- Framed HTML: its pages as HTML5 in UTF-8. -->
<xsl:stylesheet xmlns:xsl="http://www.w3.org/1999/XSL/Transform" version="1.0">

<xsl:import href="output-pages.xsl"/>

<xsl:param name="chunker.output.encoding" select="'UTF-8'"/>

</xsl:stylesheet>
