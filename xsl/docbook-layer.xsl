<?xml version="1.0"?>
<!-- Templates of DocBook XSL replaced for speed, imported after DocBook's
     own by every generated stylesheet. Each gives what the template it
     replaces gives, without walking the whole book for every node. -->
<xsl:stylesheet xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
                xmlns:exsl="http://exslt.org/common"
                xmlns:qn="urn:x-quillary:numbers"
                exclude-result-prefixes="exsl qn"
                version="1.0">

<!-- The number of a chapter of the book: DocBook counts every chapter
     before it anywhere in the book (xsl:number level="any" from="book"),
     once for each label, contents entry and cross reference. Our chapters
     are children of the book, never of a part: their siblings are enough. -->
<xsl:template match="book/chapter[not(@label)]" mode="label.markup">
  <xsl:if test="string($chapter.autolabel) != 0">
    <xsl:variable name="format">
      <xsl:call-template name="autolabel.format">
        <xsl:with-param name="format" select="$chapter.autolabel"/>
      </xsl:call-template>
    </xsl:variable>
    <xsl:number count="chapter" format="{$format}"/>
  </xsl:if>
</xsl:template>

<!-- The numbers of figures, tables and examples: DocBook counts back over
     the chapter (or, without chapter numbers, over the whole book) for every
     label it writes. They are counted once here, for books whose chapters
     stand directly in the book; anything else is left to DocBook. -->
<xsl:variable name="quillary.formal.plain"
              select="not(//appendix | //article | //part | //preface | //chapter[not(parent::book)])"/>

<xsl:variable name="quillary.formal.rtf">
  <xsl:if test="$quillary.formal.plain">
    <xsl:for-each select="/book/chapter">
      <xsl:for-each select=".//figure"><qn:c id="{generate-id()}" n="{position()}"/></xsl:for-each>
      <xsl:for-each select=".//table"><qn:c id="{generate-id()}" n="{position()}"/></xsl:for-each>
      <xsl:for-each select=".//example"><qn:c id="{generate-id()}" n="{position()}"/></xsl:for-each>
    </xsl:for-each>
    <xsl:for-each select="//figure"><qn:b id="{generate-id()}" n="{position()}"/></xsl:for-each>
    <xsl:for-each select="//table"><qn:b id="{generate-id()}" n="{position()}"/></xsl:for-each>
    <xsl:for-each select="//example"><qn:b id="{generate-id()}" n="{position()}"/></xsl:for-each>
  </xsl:if>
</xsl:variable>
<xsl:variable name="quillary.formal.numbers" select="exsl:node-set($quillary.formal.rtf)"/>
<xsl:key name="quillary.in-chapter" match="qn:c" use="@id"/>
<xsl:key name="quillary.in-book" match="qn:b" use="@id"/>

<xsl:template match="figure|table|example" mode="label.markup">
  <xsl:variable name="pchap"
                select="(ancestor::chapter
                        |ancestor::appendix
                        |ancestor::article[ancestor::book])[last()]"/>
  <xsl:choose>
    <xsl:when test="@label or not($quillary.formal.plain and /book)">
      <xsl:apply-imports/>
    </xsl:when>
    <xsl:otherwise>
      <xsl:variable name="prefix">
        <xsl:if test="count($pchap) &gt; 0">
          <xsl:apply-templates select="$pchap" mode="label.markup"/>
        </xsl:if>
      </xsl:variable>
      <xsl:variable name="id" select="generate-id()"/>
      <xsl:choose>
        <xsl:when test="$prefix != ''">
          <xsl:apply-templates select="$pchap" mode="label.markup"/>
          <xsl:apply-templates select="$pchap" mode="intralabel.punctuation">
            <xsl:with-param name="object" select="."/>
          </xsl:apply-templates>
          <xsl:for-each select="$quillary.formal.numbers">
            <xsl:value-of select="key('quillary.in-chapter', $id)/@n"/>
          </xsl:for-each>
        </xsl:when>
        <xsl:otherwise>
          <xsl:for-each select="$quillary.formal.numbers">
            <xsl:value-of select="key('quillary.in-book', $id)/@n"/>
          </xsl:for-each>
        </xsl:otherwise>
      </xsl:choose>
    </xsl:otherwise>
  </xsl:choose>
</xsl:template>

</xsl:stylesheet>
