<?xml version="1.0"?>
<!-- What the PDF adds to DocBook's formatting objects for a tagged PDF:
     every picture carries its text (the caption, else its file's name). -->
<xsl:stylesheet xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
                xmlns:fo="http://www.w3.org/1999/XSL/Format"
                xmlns:fox="http://xmlgraphics.apache.org/fop/extensions"
                xmlns:exsl="http://exslt.org/common"
                exclude-result-prefixes="exsl"
                version="1.0">

<xsl:template match="imagedata">
  <xsl:variable name="graphic">
    <xsl:apply-imports/>
  </xsl:variable>
  <xsl:variable name="alt"
                select="normalize-space((ancestor::mediaobject | ancestor::inlinemediaobject)[last()]/textobject/phrase)"/>
  <xsl:apply-templates select="exsl:node-set($graphic)/node()" mode="quillary.alt">
    <xsl:with-param name="alt" select="$alt"/>
  </xsl:apply-templates>
</xsl:template>

<xsl:template match="fo:external-graphic" mode="quillary.alt">
  <xsl:param name="alt"/>
  <xsl:copy>
    <xsl:copy-of select="@*"/>
    <xsl:if test="$alt != ''">
      <xsl:attribute name="fox:alt-text"><xsl:value-of select="$alt"/></xsl:attribute>
    </xsl:if>
    <xsl:copy-of select="node()"/>
  </xsl:copy>
</xsl:template>

<xsl:template match="*" mode="quillary.alt">
  <xsl:param name="alt"/>
  <xsl:copy>
    <xsl:copy-of select="@*"/>
    <xsl:apply-templates mode="quillary.alt">
      <xsl:with-param name="alt" select="$alt"/>
    </xsl:apply-templates>
  </xsl:copy>
</xsl:template>

<xsl:template match="text()|comment()|processing-instruction()" mode="quillary.alt">
  <xsl:copy-of select="."/>
</xsl:template>

</xsl:stylesheet>
