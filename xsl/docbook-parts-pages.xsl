<?xml version="1.0"?>
<!-- The parts of a book of pages: as docbook-parts.xsl, with the program's
     table of chunks answering which node is a chunk, which file it is in and
     how a link reaches it. DocBook works these out by walking up from the
     node for every link, contents entry and page, and compares whole
     chapters as text on the way; the table is made once for the book. It is
     used only for books the program's outline knows: no dbhtml dir, no file
     name prefix, no ids as file names. -->
<xsl:stylesheet xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
                xmlns:qx="urn:x-quillary:functions"
                exclude-result-prefixes="qx"
                version="1.0">

<xsl:include href="docbook-parts.xsl"/>

<xsl:template name="chunk">
  <xsl:param name="node" select="."/>
  <xsl:value-of select="qx:chunk($node)"/>
</xsl:template>

<xsl:template match="*" mode="chunk-filename">
  <xsl:value-of select="qx:filename(.)"/>
</xsl:template>

<xsl:template name="href.target.uri">
  <xsl:param name="object" select="."/>
  <xsl:value-of select="qx:href($object)"/>
</xsl:template>

<xsl:template name="href.target">
  <xsl:param name="context" select="."/>
  <xsl:param name="object" select="."/>
  <xsl:param name="toc-context" select="."/>
  <xsl:value-of select="qx:href($object)"/>
</xsl:template>

</xsl:stylesheet>
