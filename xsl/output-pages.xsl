<?xml version="1.0"?>
<!-- The chunked HTML formats: every page opens with its own division as h1. -->
<xsl:stylesheet xmlns:xsl="http://www.w3.org/1999/XSL/Transform" version="1.0">

<xsl:import href="output-common.xsl"/>

<xsl:param name="chunker.output.doctype-system" select="'about:legacy-compat'"/>

<!-- The depth of the nearest division that is a page of its own. -->
<xsl:template name="quillary.page.depth">
  <xsl:param name="node" select="."/>
  <xsl:variable name="is.chunk">
    <xsl:call-template name="chunk">
      <xsl:with-param name="node" select="$node"/>
    </xsl:call-template>
  </xsl:variable>
  <xsl:choose>
    <xsl:when test="$is.chunk = 1 or not($node/parent::*)">
      <xsl:call-template name="quillary.depth">
        <xsl:with-param name="node" select="$node"/>
      </xsl:call-template>
    </xsl:when>
    <xsl:otherwise>
      <xsl:call-template name="quillary.page.depth">
        <xsl:with-param name="node" select="$node/parent::*"/>
      </xsl:call-template>
    </xsl:otherwise>
  </xsl:choose>
</xsl:template>

</xsl:stylesheet>
